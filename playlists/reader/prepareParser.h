#pragma once

namespace orvel {

/// Makes the parser and the libraries below it open everything that they ever need, before this
/// process is confined: the table of file types and the character encodings.
void prepareParser();

/// False once the parser has lost the table of file types and finds lists no more. GIO looks every
/// few seconds, and when the clock is set, whether the table has changed. In a confined process it
/// finds none.
bool knowsFileTypes();

}  // namespace orvel
