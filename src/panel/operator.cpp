#include "panel/operator.h"

#include "platform/code_page.h"

#include <algorithm>

namespace sim {
namespace {

constexpr int kBackspace = 8;
constexpr int kCtrlBackspace = 127;
constexpr int kKeyTab = 9;

bool isCharacter(int code) {
    return code >= 32 && code != kCtrlBackspace;
}

TextBox* asTextBox(Control* c) {
    return c != nullptr && c->kind() == Kind::TextBox ? static_cast<TextBox*>(c) : nullptr;
}

} // namespace

bool Operator::click(Control& control) {
    if (!control.takesInput()) {
        return false;
    }
    panel_.dispatch([&] {
        if (control.canHoldFocus()) {
            panel_.moveFocus(&control);
        }
        switch (control.kind()) {
        case Kind::OptionButton:
            static_cast<OptionButton&>(control).setValue(true);
            break;
        case Kind::CheckBox: {
            auto& box = static_cast<CheckBox&>(control);
            box.setValue(box.value() == 1 ? 0 : 1);
            break;
        }
        default:
            if (control.Click) {
                control.Click();
            }
        }
    });
    return true;
}

bool Operator::focus(Control& control) {
    if (!control.canHoldFocus() || !control.takesInput()) {
        return false;
    }
    panel_.dispatch([&] { panel_.moveFocus(&control); });
    return true;
}

void Operator::tab(bool backwards) {
    std::vector<Control*> order;
    for (Control* c : panel_.controls()) {
        if (c->canHoldFocus() && c->takesInput()) {
            order.push_back(c);
        }
    }
    if (order.empty()) {
        return;
    }
    std::ranges::sort(order, {}, [](const Control* c) { return c->design().tab; });
    auto at = std::ranges::find(order, panel_.focused());
    std::size_t next = 0;
    if (at != order.end()) {
        const auto i = static_cast<std::size_t>(at - order.begin());
        next = backwards ? (i + order.size() - 1) % order.size() : (i + 1) % order.size();
    }
    panel_.dispatch([&] { panel_.moveFocus(order[next]); });
    keyUp(kKeyTab, backwards ? 1 : 0);
}

Int16 Operator::filterCharacter(TextBox& box, QChar ch) {
    Int16 code = code_page::ansiCode(ch);
    if (!box.takesInput()) {
        return 0;
    }
    panel_.dispatch([&] {
        if (box.KeyPress) {
            box.KeyPress(code);
        }
    });
    return code;
}

void Operator::keyPress(QChar ch) {
    TextBox* box = asTextBox(panel_.focused());
    if (box == nullptr) {
        return;
    }
    const Int16 code = filterCharacter(*box, ch);
    if (code != 0 && !box->readOnly()) {
        panel_.dispatch([&] { applyCharacter(*box, code); });
    }
}

void Operator::applyCharacter(TextBox& box, int code) {
    QString text = box.text();
    int start = box.selStart();
    int length = box.selLength();
    if (code == kBackspace || code == kCtrlBackspace) {
        if (length == 0) {
            const int from = code == kBackspace ? std::max(0, start - 1) : [&] {
                int i = start;
                while (i > 0 && text.at(i - 1).isSpace()) {
                    --i;
                }
                while (i > 0 && !text.at(i - 1).isSpace()) {
                    --i;
                }
                return i;
            }();
            length = start - from;
            start = from;
        }
        text.remove(start, length);
        box.applyOperatorEdit(text, start);
    } else if (isCharacter(code) || code < 0) {
        const QChar c = code < 0 ? QChar(static_cast<char16_t>(-code))
                                 : code_page::fromAnsiByte(static_cast<std::uint8_t>(code));
        text.replace(start, length, c);
        box.applyOperatorEdit(text, start + 1);
    }
    // Enter and the clipboard keys change nothing in a single-line box of the model.
}

void Operator::keyUp(int keyCode, int shift) {
    TextBox* box = asTextBox(panel_.focused());
    // A box that a link locked meanwhile takes no key, its release included.
    if (box == nullptr || !box->KeyUp || !box->takesInput()) {
        return;
    }
    panel_.dispatch([&] {
        Int16 code = keyCode;
        box->KeyUp(code, shift);
    });
}

void Operator::type(TextBox& box, const QString& text) {
    if (panel_.focused() != &box) {
        // The operator clicks behind the text; a GotFocus handler may still select it all.
        panel_.dispatch([&] { box.setSelStart(static_cast<int>(box.text().size())); });
    }
    if (!focus(box)) {
        return;
    }
    for (QChar ch : text) {
        keyPress(ch);
        keyUp(keyCodeFor(ch));
    }
}

void Operator::edited(TextBox& box, const QString& text, int caret) {
    if (box.takesInput() && !box.readOnly()) {
        panel_.dispatch([&] { box.applyOperatorEdit(text, caret); });
    }
}

void Operator::select(TextBox& box, int start, int length) {
    panel_.dispatch([&] {
        box.setSelStart(start);
        box.setSelLength(length);
    });
}

void Operator::choose(ComboBox& combo, int index) {
    if (combo.takesInput()) {
        panel_.dispatch([&] { combo.setListIndex(index); });
    }
}

void Operator::edited(ComboBox& combo, const QString& text) {
    if (combo.takesInput()) {
        panel_.dispatch([&] { combo.setText(text); });
    }
}

void Operator::resizeWindow(int widthTwips, int heightTwips) {
    panel_.dispatch([&] { panel_.frmSimulator.resized(widthTwips, heightTwips); });
}

void Operator::closeWindow() {
    for (Socket* socket : {&panel_.Client_Socket, &panel_.Server_Socket}) {
        try {
            socket->close();
        } catch (const RuntimeFailure&) {
            // The window closes whatever the socket says.
        }
    }
    pump_.requestQuit();
}

int Operator::keyCodeFor(QChar ch) {
    const char16_t u = ch.toUpper().unicode();
    if ((u >= u'0' && u <= u'9') || (u >= u'A' && u <= u'Z') || u == u' ' || u == kBackspace || u == 13) {
        return u;
    }
    switch (u) {
    case u'.':
        return 190;
    case u',':
        return 188;
    case u'-':
        return 189;
    case kCtrlBackspace:
        return kBackspace;
    default:
        return 0;
    }
}

} // namespace sim
