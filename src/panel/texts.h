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
inline constexpr char kEndless[] = "Endless";
inline constexpr char kStartCaption[] = "Start";
inline constexpr char kEndCaption[] = "End";
inline constexpr char kGapWhenEmpty[] = "1000";
inline constexpr char kErrorTitle[] = "Error";

// Tails of the status lines.
inline constexpr char kConnectionSuccess[] = "] : Connection Success";
inline constexpr char kConnectionFail[] = "] : Connection Fail";
inline constexpr char kClientDisconnected[] = "] : Client Disconnected";
inline constexpr char kServerClosed[] = "] : Server Closed";
inline constexpr char kListening[] = "] : Listen..";
inline constexpr char kListenFail[] = "] : Listen Fail";
inline constexpr char kClientConnected[] = "] : Client Connected";
inline constexpr char kClientClosed[] = "] : Client Closed";
// Answers by rule: bytes had to be let go unmatched, once a link.
inline constexpr char kAnswerOverflow[] = "] : Answer Overflow";
// Judged runs: a send's reply did not come as expected.
inline constexpr char kExpectFail[] = "] : Expect Fail";

// Message boxes: text and title.
inline constexpr char kInputDestinationIP[] = "Input Destination IP";
inline constexpr char kInputDestinationPort[] = "Input Destination Port";
inline constexpr char kInputTimegap[] = "Input Timegap";
inline constexpr char kTimegapTitle[] = "Timegap";
inline constexpr char kInputCount[] = "Input Count";
inline constexpr char kCountTitle[] = "Count";
inline constexpr char kInputSendData[] = "input Send Data";
inline constexpr char kSendDataTitle[] = "Send Data";
inline constexpr char kPleaseInputData[] = "Please Input Data";
inline constexpr char kSendFailTitle[] = "SEND FAIL";
inline constexpr char kInvalidData[] = "Invalid Data";
inline constexpr char kInvalidPass[] = "Invalid Pass";
inline constexpr char kLogFileTitle[] = "LogFile";
inline constexpr char kSocketErrorBox[] = "E........";

// Socket error reports.
inline constexpr char kClientSocketErrorTitle[] = "Err Title : Client Socket Error";
inline constexpr char kServerSocketErrorTitle[] = "Err Title : Server Socket Error";
inline constexpr char kClientSocketErrorRow[] = "Client Socket Error : Referance Err_Log File ....... ";
inline constexpr char kServerSocketErrorRow[] = "Server Socket Error : Referance Err_Log File ....... ";

// The Save dialog of the log file.
inline constexpr char kLogFileFilter[] = "Text Files (*.log)|*.log";

inline constexpr char kInputPortNo[] = "Input Port No";
inline constexpr char kListenCaption[] = "Listen";

// The address boxes' leaving tests; the leading blank of the format message is part of it.
inline constexpr char kAddressCrossLimit[] = "IP Address Value Cross Limit";
inline constexpr char kAddressFormat[] = " Please Check your IP Address Format";
inline constexpr char kAddressFormatTitle[] = "IP Address Error";

// The addresses not assignable to a device. The first message names 225 where its rule compares 255.
inline constexpr char kBroadcastAddress[] = "255.255.255.255";
inline constexpr char kUnspecifiedAddress[] = "0.0.0.0";
inline constexpr char kIanaBlock[] = "224.0.0.";
inline constexpr char kConferencingBlock[] = "224.0.1.";
inline constexpr char kConferencingAddress[] = "224.0.1.7";
inline constexpr char kInvalidBroadcast[] = "Invalid Address 225.225.225.225";
inline constexpr char kInvalidUnspecified[] = "Invalid Address 0.0.0.0";
inline constexpr char kInvalidIana[] = "Invalid Address,This Asign for 'IANA'";
inline constexpr char kInvalidConferencing[] = "Invalid Address,This Asign for Conferencing";
inline constexpr char kAddressErrorTitle[] = "Address Error";

} // namespace sim::texts
