#pragma once

#include "panel/panel.h"

#include <QStringList>

namespace sim::test {

// What the panel shows and holds, control by control, for comparing two panels: values, texts, captions,
// enabled states and colours. Focus and selection are left out; they follow where the operator clicked.
inline QStringList panelState(const Panel& p) {
    QStringList out;
    for (const Control* c : p.controls()) {
        QString line = c->name() + QStringLiteral(" enabled=%1").arg(c->enabled());
        switch (c->kind()) {
        case Kind::OptionButton:
            line += QStringLiteral(" value=%1").arg(static_cast<const OptionButton*>(c)->value());
            break;
        case Kind::CheckBox:
            line +=
                QStringLiteral(" value=%1").arg(static_cast<int>(static_cast<const CheckBox*>(c)->value()));
            break;
        case Kind::TextBox: {
            const auto* box = static_cast<const TextBox*>(c);
            line += QStringLiteral(" text='%1' back=%2").arg(box->text()).arg(box->backColor(), 0, 16);
            break;
        }
        case Kind::ComboBox: {
            const auto* combo = static_cast<const ComboBox*>(c);
            line += QStringLiteral(" text='%1' back=%2 index=%3")
                        .arg(combo->text())
                        .arg(combo->backColor(), 0, 16)
                        .arg(static_cast<int>(combo->listIndex()));
            break;
        }
        case Kind::Label:
        case Kind::Button:
            line += QStringLiteral(" caption='%1'").arg(static_cast<const Captioned*>(c)->caption());
            break;
        case Kind::ListBox:
            line +=
                QStringLiteral(" rows=%1").arg(static_cast<int>(static_cast<const ListBox*>(c)->listCount()));
            break;
        case Kind::Timer:
            line += QStringLiteral(" interval=%1").arg(static_cast<const Timer*>(c)->interval());
            break;
        default:
            break;
        }
        out << line;
    }
    return out;
}

} // namespace sim::test
