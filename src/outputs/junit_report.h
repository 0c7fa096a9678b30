#pragma once

#include "link/judged_sends.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <vector>

namespace sim {

// The run as a JUnit XML report, for the test reports of CI systems. One test suite named after the
// profile; with expectations, one test case a judged send for the first kFirstCases of them, then one a
// failed send for up to kMoreFailures more, then one that counts the rest (failed if any of them
// failed); without, one test case for the whole run. Bounded whatever the run's length: well under 2 MB.
class JunitReport {
public:
    static constexpr int kFirstCases = 1000;
    static constexpr int kMoreFailures = 1000;
    // A failure's message and the suite's name are cut to these many bytes as written (a pattern or a
    // profile's name may be long), so the report stays small.
    static constexpr qsizetype kLongestMessage = 512;
    static constexpr qsizetype kLongestName = 128;

    JunitReport(const QString& suite, QDateTime started);

    // A send with an expectation was decided; `line` tells a failure as standard error does.
    void judged(const JudgedSends::Verdict& verdict, const QString& line);

    struct End {
        int exitStatus = 0;
        QString why;     // the run's first failure
        QString summary; // the summary line, or empty
        double seconds = 0;
    };
    QByteArray xml(const End& end) const;

private:
    struct Case {
        QString name;
        double seconds = 0;
        QString failure; // empty when it passed
    };
    QString suite_;
    QDateTime started_;
    std::vector<Case> cases_;
    int judged_ = 0;
    int failed_ = 0;
    int listedFailures_ = 0;
    int restFailed_ = 0; // of the sends not listed
};

} // namespace sim
