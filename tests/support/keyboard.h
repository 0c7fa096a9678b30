#pragma once

#include "panel/operator.h"
#include "platform/code_page.h"

#include <QRegularExpression>

namespace sim::test {

// Keys typed into the model without a window: each goes through the box's character handler as the
// view sends it, and a character it lets pass is applied as a single-line edit applies it (Backspace
// takes the selection or the character before the caret, 127 the word before it). Then the key comes up.
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
        int start = box->selStart();
        int length = box->selLength();
        if (code == 8 || code == 127) {
            if (length == 0) {
                static const QRegularExpression lastWord(QStringLiteral("\\S*\\s*$"));
                const auto from = code == 8 ? std::max(0, start - 1) : text.left(start).indexOf(lastWord);
                length = start - static_cast<int>(from);
                start = static_cast<int>(from);
            }
            op_.edited(*box, text.remove(start, length), start);
        } else if (code >= 32 || code < 0) {
            const QChar typed = code < 0 ? QChar(static_cast<char16_t>(-code))
                                         : code_page::fromAnsiByte(static_cast<std::uint8_t>(code));
            op_.edited(*box, text.replace(start, length, typed), start + 1);
        }
    }
    // Press and release.
    void key(QChar ch) {
        press(ch);
        op_.keyUp(keyCodeFor(ch));
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
    // The key code of the key that types the character: Backspace's for 8 and for 127 (Ctrl+Backspace), a
    // digit's or capital letter's own, and 0 for the other keys, which no handler tells apart.
    static int keyCodeFor(QChar ch) {
        const char16_t u = ch.toUpper().unicode();
        if (u == 8 || u == 127) {
            return 8;
        }
        return (u >= u'0' && u <= u'9') || (u >= u'A' && u <= u'Z') ? u : 0;
    }

private:
    Panel& panel_;
    Operator& op_;
};

} // namespace sim::test
