#pragma once

#include "panel/operator.h"
#include "platform/code_page.h"

#include <QRegularExpression>

namespace sim::test {

// Keys typed into the model without a window: each goes through the box's character handler as the
// view sends it, and a character it lets pass is applied as a single-line edit applies it (Backspace
// takes the selection or else the character before the caret, 127 the word before it).
class Keyboard {
public:
    Keyboard(Panel& panel, Operator& op) : panel_(panel), op_(op) {}

    // The key of one character, pressed in the box that holds the focus.
    void press(QChar ch) {
        auto* box = dynamic_cast<TextBox*>(panel_.focused());
        const Int16 code = box != nullptr ? op_.filterCharacter(*box, ch) : Int16(0);
        if (code == 0 || box->readOnly()) {
            return;
        }
        QString text = box->text();
        const int start = box->selStart();
        const int length = box->selLength();
        if (code == 8 || code == 127) {
            static const QRegularExpression lastWord(QStringLiteral("\\S*\\s*$"));
            const int from = length > 0  ? start
                             : code == 8 ? std::max(0, start - 1)
                                         : static_cast<int>(text.left(start).indexOf(lastWord));
            op_.edited(*box, text.remove(from, std::max(length, start - from)), from);
        } else if (code >= 32 || code < 0) {
            const QChar typed = code < 0 ? QChar(static_cast<char16_t>(-code))
                                         : code_page::fromAnsiByte(static_cast<std::uint8_t>(code));
            op_.edited(*box, text.replace(start, length, typed), start + 1);
        }
    }
    // The key coming up: only Backspace's has a key code a handler reads, 8 (also for 127, Ctrl+Backspace).
    void release(QChar ch) { op_.keyUp(ch == u'\b' || ch == QChar(127) ? 8 : 0); }
    void key(QChar ch) {
        press(ch);
        release(ch);
    }
    // The caret put behind the box's text (unless it holds the focus already), then each key in turn.
    void type(TextBox& box, const QString& text) {
        if (panel_.focused() != &box) {
            panel_.dispatch([&] { box.setSelStart(static_cast<int>(box.text().size())); });
        }
        if (!op_.focus(box)) {
            return;
        }
        for (QChar ch : text) {
            key(ch);
        }
    }

private:
    Panel& panel_;
    Operator& op_;
};

} // namespace sim::test
