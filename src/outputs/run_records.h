#pragma once

#include "link/judged_sends.h"
#include "logging/log_book.h"

#include <QByteArray>
#include <QString>

namespace sim {

class OutputFile;

// The run's records as JSON Lines: each traffic record, status line and error as one object a line,
// written as it happens, at any log level. The fields:
//   time     local date and time with its UTC offset, to the millisecond
//   kind     recv, send, status or error
//   bytes    the payload's size; hex its bytes, two digits each; text the payload read through the
//            code page, or the status line's tail, or the error's text
//   reply_us on an arrival that completed a send's reply: the time it took; send that send's number;
//            expect pass when the send had an expectation
//   expect   fail on an Expect Fail line, with send, expected (the pattern), match and why
//   rule     on a send an answer rule made: the rule's number
// Lines go to the output through the log files' writer, so a slow reader does not hold the panel.
class RunRecords {
public:
    RunRecords(OutputFile& output, FileAppender& files, Clock& clock, const JudgedSends& judged)
        : output_(output), files_(files), clock_(clock), judged_(judged) {}

    void heard(const Heard& heard);
    void messageBox(const QString& text);

private:
    void begin(const char* kind);
    void field(const char* name, QStringView text);
    void field(const char* name, qint64 number);
    void end();

    OutputFile& output_;
    FileAppender& files_;
    Clock& clock_;
    const JudgedSends& judged_;
    QByteArray line_;
};

// `text` as the inside of a JSON string, in UTF-8.
void appendJsonString(QByteArray& out, QStringView text);

} // namespace sim
