#pragma once

#include "panel/panel.h"

namespace sim {

// What an operator can do to the form: click, focus, type, release a key, choose, close the window. The
// widget view and the tests both go through here, so both see the same event rules.
class Operator {
public:
    Operator(Panel& panel, EventPump& pump) : panel_(panel), pump_(pump) {}

    // A click: a control the operator cannot reach ignores it. Controls that can hold the focus take
    // it first. An option that is already selected stays as it is and runs no Click.
    bool click(Control& control);
    // The operator puts the focus into a control (mouse or keyboard).
    bool focus(Control& control);

    // The character event of the box the key was typed in: the code that reaches the box, 0 when a
    // handler cancelled it. A character outside the code page has a negative code.
    Int16 filterCharacter(TextBox& box, QChar ch);
    // A key released; it goes to the box that holds the focus at that moment.
    void keyUp(int keyCode, int shift = 0);

    // The edit control changed its text on its own (a native edit after the character event passed).
    void edited(TextBox& box, const QString& text, int caret);
    void select(TextBox& box, int start, int length);
    void choose(ComboBox& combo, int index);
    void edited(ComboBox& combo, const QString& text);

    // Closes both sockets and ends the program, also from inside a loop that pumps.
    void closeWindow();

private:
    Panel& panel_;
    EventPump& pump_;
};

} // namespace sim
