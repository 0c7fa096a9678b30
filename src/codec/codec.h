#pragma once

#include "platform/seam.h"

#include <QString>

namespace sim {

// Typed text into payload bytes. Both replace what the payload held and raise RuntimeFailure, leaving
// the payload meaningless, for an empty text, a text longer than 32767 characters, a character outside
// the code page (ASCII form) or a pair that is no hexadecimal number (hexadecimal form).

// One byte per character, in the code page.
void Str2Ary(Bytes& payload, const QString& text);
// One byte per pair of hexadecimal digits, cut by position; an odd last character is never read.
void Hex2Ary(Bytes& payload, const QString& text);

// The data format rule: the ASCII form when `ascii` is selected, else the hexadecimal form when `hex`
// is; read at each send.
void convertByFormat(bool ascii, bool hex, Bytes& payload, const QString& text);

} // namespace sim
