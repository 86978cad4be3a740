#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace orvel {

/// The characters of the byte codes of legacy encodings, U+FFFD for unassigned codes.

/// Bytes 0x80 to 0xFF of eight-bit encodings.
extern const std::u16string_view cp1250Table, cp1251Table, cp1252Table, cp1253Table, cp1254Table,
    cp1255Table, cp1256Table, cp1257Table, cp1258Table, cp874Table, koi8uTable, iso88592Table,
    iso885915Table, iso885916Table, iso88597Table, iso88595Table, cp866Table, maccyrillicTable;

/// GB 2312 and the additions of GBK to its rows: lead bytes 0xA1 to 0xF7, trail bytes 0xA1 to 0xFE.
extern const std::u16string_view gb2312Table;
/// GBK's symbols: lead bytes 0xA8 and 0xA9, trail bytes 0x40 to 0xA0 without 0x7F.
extern const std::u16string_view gbkSymbolTable;
/// The codes of GBK after its Han characters in Unicode order.
extern const std::u16string_view gbkTailTable;
/// Big5 with the additions of code page 950: lead bytes 0xA1 to 0xF9, trail bytes 0x40 to 0x7E and
/// 0xA1 to 0xFE.
extern const std::u16string_view big5Table;
/// Hong Kong's additions to Big5: lead bytes 0x87 to 0xA0 and 0xFA to 0xFE, the same trail bytes.
/// The characters of plane 2 are there without their upper bits; `hkscsPlane2` has a bit for each
/// character, from the lowest bit on, which is set for those of plane 2.
extern const std::array<std::uint16_t, 4867> hkscsTable;
extern const std::array<std::uint16_t, 305> hkscsPlane2;
/// Rows 1 to 8, 13, 16 to 84 and 115 to 119 of the Japanese table of code page 932, 94 cells each.
extern const std::u16string_view jisTable;
/// KS X 1001: lead bytes 0xA1 to 0xFD, trail bytes 0xA1 to 0xFE.
extern const std::u16string_view koreanTable;

}  // namespace orvel
