#include "outputs/junit_report.h"

#include <QXmlStreamWriter>

namespace sim {
namespace {

// What XML 1.0 cannot carry, even escaped, becomes U+FFFD.
QString xmlSafe(QString text) {
    for (QChar& c : text) {
        const char16_t u = c.unicode();
        const bool allowed =
            u == 0x9 || u == 0xA || u == 0xD || (u >= 0x20 && u < 0xD800) || (u >= 0xE000 && u < 0xFFFE);
        if (!allowed) {
            c = QChar::ReplacementCharacter;
        }
    }
    return text;
}

// The text cut so that, escaped in an attribute and in UTF-8, it takes at most `bytes`.
QString cutToEncoded(const QString& text, qsizetype bytes) {
    qsizetype used = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t u = text[i].unicode();
        const qsizetype cost = u == u'"'                                             ? 6
                               : u == u'&' || u == u'\n' || u == u'\r' || u == u'\t' ? 5
                               : u == u'<' || u == u'>'                              ? 4
                               : u < 0x80                                            ? 1
                               : u < 0x800 || QChar::isSurrogate(u)                  ? 2
                                                                                     : 3;
        if (used + cost > bytes - 3) { // room for the ellipsis
            return text.left(i) + QChar(0x2026);
        }
        used += cost;
    }
    return text;
}

} // namespace

JunitReport::JunitReport(const QString& suite, QDateTime started)
    : suite_(cutToEncoded(xmlSafe(suite), kLongestName)), started_(std::move(started)) {}

void JunitReport::judged(const JudgedSends::Verdict& v, const QString& line) {
    ++judged_;
    failed_ += v.passed ? 0 : 1;
    const bool listed = judged_ <= kFirstCases || (!v.passed && listedFailures_ < kMoreFailures);
    if (!listed) {
        restFailed_ += v.passed ? 0 : 1;
        return;
    }
    if (judged_ > kFirstCases) {
        ++listedFailures_;
    }
    Case c;
    c.name = answers::sendName(v);
    c.seconds = v.replyUs ? static_cast<double>(*v.replyUs) / 1e6 : 0.0;
    c.failure = v.passed ? QString() : cutToEncoded(xmlSafe(line), kLongestMessage);
    cases_.push_back(std::move(c));
}

QByteArray JunitReport::xml(const End& end) const {
    QByteArray out;
    QXmlStreamWriter w(&out);
    w.setAutoFormatting(true);
    w.writeStartDocument();
    const int rest = judged_ - static_cast<int>(cases_.size());
    const bool judgedRun = judged_ > 0;
    // A run that failed for another reason than its expectations has a case of its own that says so.
    const bool runCase = !judgedRun || (end.exitStatus != 0 && failed_ == 0);
    const int tests = static_cast<int>(cases_.size()) + (rest > 0 ? 1 : 0) + (runCase ? 1 : 0);
    const int failures =
        failed_ - restFailed_ + (restFailed_ > 0 ? 1 : 0) + (runCase && end.exitStatus != 0 ? 1 : 0);
    const auto seconds = [](double s) { return QString::number(s, 'f', 6); };

    w.writeStartElement(QStringLiteral("testsuites"));
    w.writeStartElement(QStringLiteral("testsuite"));
    w.writeAttribute(QStringLiteral("name"), suite_);
    w.writeAttribute(QStringLiteral("tests"), QString::number(tests));
    w.writeAttribute(QStringLiteral("failures"), QString::number(failures));
    w.writeAttribute(QStringLiteral("errors"), QStringLiteral("0"));
    w.writeAttribute(QStringLiteral("skipped"), QStringLiteral("0"));
    w.writeAttribute(QStringLiteral("time"), seconds(end.seconds));
    w.writeAttribute(QStringLiteral("timestamp"), started_.toString(Qt::ISODate));
    const auto testCase = [&](const QString& name, double time, const QString& failure) {
        w.writeStartElement(QStringLiteral("testcase"));
        w.writeAttribute(QStringLiteral("classname"), suite_);
        w.writeAttribute(QStringLiteral("name"), name);
        w.writeAttribute(QStringLiteral("time"), seconds(time));
        if (!failure.isEmpty()) {
            w.writeStartElement(QStringLiteral("failure"));
            w.writeAttribute(QStringLiteral("message"), failure);
            w.writeEndElement();
        }
        w.writeEndElement();
    };
    for (const Case& c : cases_) {
        testCase(c.name, c.seconds, c.failure);
    }
    if (rest > 0) {
        testCase(QStringLiteral("%1 other sends").arg(rest), 0,
                 restFailed_ > 0 ? QStringLiteral("%1 of them failed").arg(restFailed_) : QString());
    }
    if (runCase) {
        testCase(QStringLiteral("run"), end.seconds,
                 end.exitStatus != 0 ? (end.why.isEmpty() ? QStringLiteral("the run failed")
                                                          : cutToEncoded(xmlSafe(end.why), kLongestMessage))
                                     : QString());
    }
    if (!end.summary.isEmpty()) {
        w.writeTextElement(QStringLiteral("system-out"), xmlSafe(end.summary));
    }
    w.writeEndElement();
    w.writeEndElement();
    w.writeEndDocument();
    return out;
}

} // namespace sim
