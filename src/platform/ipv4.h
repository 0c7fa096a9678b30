#pragma once

#include <QString>

#include <cstdint>
#include <optional>

namespace sim {

// A literal dotted IPv4 address of four decimal parts, each 0..255, in host order. Names, short forms
// and anything else give nothing: the simulator never looks a name up.
std::optional<std::uint32_t> parseIPv4(const QString& text);

} // namespace sim
