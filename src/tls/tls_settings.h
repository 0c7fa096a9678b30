#pragma once

#include <QString>

#include <optional>

namespace sim::tls {

// What a profile asks of TLS on the link, in whichever role the panel plays.
struct Settings {
    QString certificate; // PEM: the simulator's certificate chain; needed to listen
    QString key;         // PEM: its private key
    QString ca;          // PEM: the authorities the device's certificate must chain to
    bool verify = true;  // check the device's certificate
    QString name;        // dialling: the name sent in SNI and checked; empty: the address is checked
};

// What is wrong with a profile's TLS settings, naming the key it is about.
struct Problem {
    QString key;
    QString why;
};

// Checks the files the settings name, before anything listens or dials: each is readable, a private key is
// readable by its owner only, each holds what it should in PEM, and the key is the certificate's.
// `listening` asks for what a listener needs.
std::optional<Problem> check(const Settings& settings, bool listening);

} // namespace sim::tls
