#include "outputs/run_records.h"

#include "platform/code_page.h"

#include <QDateTime>

namespace sim {
namespace {

// yyyy-MM-ddTHH:mm:ss.zzz+hh:mm
QByteArray isoTime(const Clock& clock) {
    const QTime time = clock.localTime();
    const QDateTime at(clock.localDate(),
                       QTime(time.hour(), time.minute(), time.second(), clock.systemMilliseconds()));
    const int offset = at.offsetFromUtc() / 60;
    const int minutes = offset < 0 ? -offset : offset;
    QByteArray out = at.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")).toLatin1();
    out.append(offset < 0 ? '-' : '+');
    out.append(QByteArray::number(minutes / 60).rightJustified(2, '0'));
    out.append(':');
    out.append(QByteArray::number(minutes % 60).rightJustified(2, '0'));
    return out;
}

} // namespace

void appendJsonString(QByteArray& out, QStringView text) {
    static constexpr char kHex[] = "0123456789abcdef";
    qsizetype plainFrom = 0;
    const auto flush = [&](qsizetype to) {
        if (to > plainFrom) {
            out.append(text.sliced(plainFrom, to - plainFrom).toUtf8());
        }
    };
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t c = text[i].unicode();
        if (c >= 0x20 && c != u'"' && c != u'\\') {
            continue;
        }
        flush(i);
        plainFrom = i + 1;
        switch (c) {
        case u'"':
            out.append("\\\"");
            break;
        case u'\\':
            out.append("\\\\");
            break;
        case u'\n':
            out.append("\\n");
            break;
        case u'\r':
            out.append("\\r");
            break;
        case u'\t':
            out.append("\\t");
            break;
        default:
            out.append("\\u00");
            out.append(kHex[c >> 4]);
            out.append(kHex[c & 0xF]);
        }
    }
    flush(text.size());
}

void RunRecords::begin(const char* kind) {
    line_.clear();
    line_.append("{\"time\":\"");
    line_.append(isoTime(clock_));
    line_.append("\",\"kind\":\"");
    line_.append(kind);
    line_.append('"');
}

void RunRecords::field(const char* name, QStringView text) {
    line_.append(",\"");
    line_.append(name);
    line_.append("\":\"");
    appendJsonString(line_, text);
    line_.append('"');
}

void RunRecords::field(const char* name, qint64 number) {
    line_.append(",\"");
    line_.append(name);
    line_.append("\":");
    line_.append(QByteArray::number(number));
}

void RunRecords::end() {
    line_.append("}\n");
    files_.write(output_, std::exchange(line_, {}));
}

void RunRecords::heard(const Heard& heard) {
    switch (heard.kind) {
    case Heard::Kind::Received:
    case Heard::Kind::Sent: {
        begin(heard.kind == Heard::Kind::Received ? "recv" : "send");
        field("bytes", heard.payload.size());
        line_.append(",\"hex\":\"");
        line_.append(QByteArray::fromRawData(heard.payload.data(), heard.payload.size()).toHex());
        line_.append('"');
        field("text", code_page::fromAnsi(heard.payload));
        if (heard.rule > 0) {
            field("rule", heard.rule);
        }
        const JudgedSends::Verdict* reply =
            heard.kind == Heard::Kind::Received ? judged_.replyOfArrival() : nullptr;
        if (reply != nullptr) {
            field("reply_us", *reply->replyUs);
            field("send", reply->send);
            if (reply->expected != nullptr) {
                field("expect", u"pass");
            }
        }
        break;
    }
    case Heard::Kind::Status: {
        begin("status");
        field("text", heard.text);
        const JudgedSends::Verdict* failed = judged_.failing();
        if (failed != nullptr) {
            field("expect", u"fail");
            field("send", failed->send);
            field("expected", failed->expected->pattern);
            field("match", QString::fromLatin1(answers::matchKindName(failed->expected->kind)));
            field("why", failed->why);
        }
        break;
    }
    case Heard::Kind::Error:
        begin("error");
        field("text", heard.text);
        break;
    }
    end();
}

void RunRecords::messageBox(const QString& text) {
    begin("error");
    field("text", text);
    end();
}

} // namespace sim
