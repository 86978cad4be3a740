/* Loaded into QEMU, which never asks for a locale: its MTP device then cannot name files beyond ASCII. */
#include <locale.h>

__attribute__((constructor)) static void begin(void) { setlocale(LC_CTYPE, "C.UTF-8"); }
