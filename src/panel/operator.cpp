#include "panel/operator.h"

#include "platform/code_page.h"

namespace sim {
namespace {

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

} // namespace sim
