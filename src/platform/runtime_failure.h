#pragma once

#include <QString>

#include <stdexcept>

namespace sim {

// A run-time error as the operator knows them: a number and a description. Calls that cannot do what is
// asked (a socket that cannot listen, a 16-bit count that overflows) raise it; a handler with a trap
// catches it and the event dispatch catches what no handler did, so it never ends the program.
class RuntimeFailure : public std::runtime_error {
public:
    RuntimeFailure(int number, const QString& description, const QString& source = {})
        : std::runtime_error(description.toStdString()), number_(number), description_(description),
          source_(source) {}
    // One of the form's own failures (failure:: below), with its description.
    explicit RuntimeFailure(int number);

    int number() const { return number_; }
    const QString& description() const { return description_; }
    const QString& source() const { return source_; }

private:
    int number_;
    QString description_;
    QString source_;
};

// Thrown by the event pump once the window has been closed, so that every loop that pumps unwinds to
// the event dispatch that entered it.
class ApplicationQuit : public std::exception {
public:
    const char* what() const noexcept override { return "the window was closed"; }
};

// The numbers of the run-time failures the form's own calls raise.
namespace failure {
inline constexpr int kInvalidProcedureCall = 5;
inline constexpr int kOverflow = 6;
inline constexpr int kSubscriptOutOfRange = 9;
inline constexpr int kTypeMismatch = 13;
inline constexpr int kInvalidPropertyValue = 380;
inline constexpr int kCancelSelected = 32755; // the Save dialog's Cancel, when asked to raise it

// The description that goes with a number above.
QString description(int number);
} // namespace failure

} // namespace sim
