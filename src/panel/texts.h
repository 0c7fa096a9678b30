#pragma once

// The system's own texts: captions, messages and names that reach the operator or the settings store.

namespace sim::texts {

inline constexpr char kAppTitle[] = "Simulator";
inline constexpr char kFormCaption[] = "Tarnix Simulator Ver3.5.1 (2011/06/08)";
// Our maker address lies under a reserved domain so that no real site is ever opened by mistake.
inline constexpr char kMakerAddress[] = "www.tarnix.example";

inline constexpr char kSettingsApp[] = "TK7300_SIMUL";
inline constexpr char kAddressKey[] = "ADDRESS";
inline constexpr char kPortKey[] = "PORT";
inline constexpr char kDefaultAddress[] = "100.100.100.1";
inline constexpr char kDefaultPort[] = "4000";

inline constexpr char kConnectCaption[] = "Connect";
inline constexpr char kErrorTitle[] = "Error";

} // namespace sim::texts
