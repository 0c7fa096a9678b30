#pragma once

#include "panel/panel.h"

#include <QRegularExpression>
#include <QStringList>

namespace sim::test {

// What the panel shows and holds, control by control, for comparing two panels: values, texts, captions,
// enabled states and colours. Focus and selection are left out; they follow where the operator clicked.
inline QStringList panelState(const Panel& p) {
    QStringList out;
    for (const Control* c : p.controls()) {
        QString line = c->name() + QStringLiteral(" enabled=%1").arg(c->enabled());
        if (const auto* option = dynamic_cast<const OptionButton*>(c)) {
            line += QStringLiteral(" value=%1").arg(option->value());
        } else if (const auto* check = dynamic_cast<const CheckBox*>(c)) {
            line += QStringLiteral(" value=%1").arg(static_cast<int>(check->value()));
        } else if (const auto* box = dynamic_cast<const TextBox*>(c)) {
            // The text goes in last, so that a "%1" it holds stays text.
            line += QStringLiteral(" text='%2' back=%1").arg(box->backColor(), 0, 16).arg(box->text());
        } else if (const auto* combo = dynamic_cast<const ComboBox*>(c)) {
            line += QStringLiteral(" text='%1' back=%2 index=%3")
                        .arg(combo->text(), QString::number(combo->backColor(), 16),
                             QString::number(combo->listIndex()));
        } else if (const auto* captioned = dynamic_cast<const Captioned*>(c)) {
            line += QStringLiteral(" caption='%1'").arg(captioned->caption());
        } else if (const auto* list = dynamic_cast<const ListBox*>(c)) {
            line += QStringLiteral(" rows=%1").arg(static_cast<int>(list->listCount()));
        } else if (const auto* timer = dynamic_cast<const Timer*>(c)) {
            line += QStringLiteral(" interval=%1").arg(timer->interval());
        }
        out << line;
    }
    return out;
}

// Facts about named controls, a word each: "+name" for an enabled control and "-name" for a disabled
// one, then "=1" for the value of an option or a check box and "#FFFFFF" for a box's back colour. The
// answer reads what each word asks for, in the same words: it equals `facts` when every fact holds.
inline QString factsOf(const Panel& p, const QString& facts) {
    static const QRegularExpression word(QStringLiteral("^([+-]?)([^=#]+)(=?)[01]?(#?)"));
    const QStringList state = panelState(p);
    QStringList out;
    for (const QString& asked : facts.split(u' ')) {
        const QRegularExpressionMatch m = word.match(asked);
        const QString line =
            state.filter(QRegularExpression(u'^' + QRegularExpression::escape(m.captured(2)) + u' '))
                .value(0);
        const auto part = [&](const char* key) {
            return line.section(QLatin1String(key), 1).section(u' ', 0, 0);
        };
        QString fact = m.captured(1).isEmpty() ? m.captured(2)
                                               : (part(" enabled=") == u'1' ? u'+' : u'-') + m.captured(2);
        fact += m.captured(3).isEmpty() ? QString() : u'=' + part(" value=");
        out << fact + (m.captured(4).isEmpty() ? QString() : u'#' + part(" back=").toUpper());
    }
    return out.join(u' ');
}

} // namespace sim::test
