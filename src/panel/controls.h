#pragma once

#include "panel/control_table.h"
#include "platform/int16.h"
#include "platform/seam.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace sim {

class Panel;

// What changed on a control, for whoever mirrors the panel on a screen.
enum class Prop { Text, Caption, Enabled, Value, Selection, BackColor, ListIndex, Rows, Size, Focus };

// A control of the form: its design state from the control table, and the members the handlers use.
class Control {
public:
    Control(Panel& panel, const ControlDesign& design);
    virtual ~Control() = default;
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    const ControlDesign& design() const { return design_; }
    Kind kind() const { return design_.kind; }
    QString name() const; // with the index of a control array member: "txtStep(2)"
    Control* holder() const { return holder_; }
    void setHolder(Control* holder) { holder_ = holder; }

    bool enabled() const { return enabled_; }
    virtual void setEnabled(bool on);
    // True when the operator can reach the control: it and every holder up to the form are enabled.
    bool takesInput() const;
    // Buttons, options, check boxes, text and combo boxes and the list can hold the focus.
    bool canHoldFocus() const;
    void setFocus();

    std::function<void()> Click;
    std::function<void()> GotFocus;
    std::function<void()> LostFocus;

protected:
    void changed(Prop prop);
    Panel& panel_;

private:
    const ControlDesign& design_;
    Control* holder_ = nullptr;
    bool enabled_;
};

class Frame : public Control {
public:
    using Control::Control;
    QString caption() const { return QString::fromLatin1(design().caption); }
};

// A control whose caption the program may change.
class Captioned : public Control {
public:
    Captioned(Panel& panel, const ControlDesign& design);
    const QString& caption() const { return caption_; }
    void setCaption(const QString& caption);

private:
    QString caption_;
};

class Label : public Captioned {
public:
    using Captioned::Captioned;
};

class Button : public Captioned {
public:
    using Captioned::Captioned;
};

// Selecting a member deselects the others of its holder. Click runs when the value turns true.
class OptionButton : public Control {
public:
    OptionButton(Panel& panel, const ControlDesign& design);
    QString caption() const { return QString::fromLatin1(design().caption); }
    bool value() const { return value_; }
    void setValue(bool on);

private:
    bool value_;
};

// Value 0 unchecked, 1 checked, 2 greyed; Click runs whenever the value changes.
class CheckBox : public Control {
public:
    CheckBox(Panel& panel, const ControlDesign& design);
    QString caption() const { return QString::fromLatin1(design().caption); }
    Int16 value() const { return value_; }
    void setValue(Int16 value);

private:
    Int16 value_;
};

class TextBox : public Control {
public:
    TextBox(Panel& panel, const ControlDesign& design);

    const QString& text() const { return text_; }
    void setText(const QString& text); // Change runs when the text differs
    // Positions in characters; a box has no character limit, so they are 32-bit.
    int selStart() const { return selStart_; }
    void setSelStart(int start);
    int selLength() const { return selLength_; }
    void setSelLength(int length);
    QString selText() const;
    void setSelText(const QString& text); // replaces the selection; Change runs when the text differs
    unsigned backColor() const { return backColor_; }
    void setBackColor(unsigned colour);
    bool readOnly() const { return (design().flags & kReadOnly) != 0; }

    // A new text with the caret at `caret`, as the operator's edit control left it (and as setText and
    // setSelText make it). Runs Change when the text differs.
    void applyOperatorEdit(const QString& text, int caret);

    std::function<void()> Change;
    std::function<void(Int16& keyAscii)> KeyPress; // 0 cancels the character
    std::function<void(Int16& keyCode, Int16 shift)> KeyUp;

private:
    QString text_;
    int selStart_ = 0;
    int selLength_ = 0;
    unsigned backColor_;
};

class ComboBox : public Control {
public:
    ComboBox(Panel& panel, const ControlDesign& design);

    const QString& text() const { return text_; }
    void setText(const QString& text);
    const QStringList& entries() const { return entries_; }
    Int16 listIndex() const { return listIndex_; }
    void setListIndex(int index); // -1 clears the choice; an entry's text becomes Text
    unsigned backColor() const { return backColor_; }
    void setBackColor(unsigned colour);

private:
    QString text_;
    QStringList entries_;
    Int16 listIndex_{-1};
    unsigned backColor_;
};

// The log list. Rows are kept for the view, which may show them in batches.
class ListBox : public Control {
public:
    using Control::Control;

    // While a batch is open, every change of the rows and the selection happens as it would without
    // it, but whoever mirrors the list hears of them once, when the batch closes.
    class Batch {
    public:
        explicit Batch(ListBox& list) : list_(list) { ++list_.batches_; }
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

    private:
        ListBox& list_;
    };

    Int16 listCount() const { return Int16(static_cast<long long>(rows_.size())); }
    void addItem(const QString& row);
    // AddItem of text.mid(from, size), kept as that piece of a text the rows of a record share: the
    // row's own string is made only when someone reads it.
    void addPiece(const QString& text, qsizetype from, qsizetype size);
    void removeItem(int index);
    // The `count` oldest rows out at once, as that many calls of RemoveItem 0 would take them.
    void removeOldest(int count);
    void clear();
    Int16 listIndex() const { return listIndex_; }
    void setListIndex(int index);
    QStringList rows() const;

    // Told of each row as AddItem takes it, for whoever copies the list elsewhere.
    std::function<void(const QString& row)> rowAdded;

private:
    // A row: the whole of a text the list holds, or the piece of it from `from` on, `size` long. Rows
    // name their text by its number, so that adding and dropping a row touches no shared string.
    struct Row {
        std::uint64_t text = 0;
        qsizetype from = 0;
        qsizetype size = -1;
    };
    void push(const QString& text, qsizetype from, qsizetype size);
    QString toString(const Row& row) const;
    // Lets go of the texts no row names any more; rows name their texts in the order they came.
    void dropUnnamedTexts();
    void listChanged(Prop prop);
    std::deque<Row> rows_;
    std::deque<QString> texts_;
    std::uint64_t firstText_ = 0; // the number of texts_.front()
    Int16 listIndex_{-1};
    int batches_ = 0;
    bool rowsChanged_ = false;
    bool indexChanged_ = false;
};

// Ticks every Interval ms while Enabled and Interval > 0. A new Interval starts the wait over, and a
// tick never enters its own handler while that still runs.
class Timer : public Control {
public:
    Timer(Panel& panel, const ControlDesign& design, TimerFactory& timers);

    int interval() const { return interval_; }
    void setInterval(int ms);
    void setEnabled(bool on) override;
    bool running() const { return running_; }

    std::function<void()> Tick; // the control's Timer event

private:
    void rearm();
    void tick();
    int interval_;
    bool running_ = false;
    bool inHandler_ = false;
    std::unique_ptr<PlatformTimer> timer_;
};

// The Save dialog and the properties it is shown with.
class SaveDialog : public Control {
public:
    SaveDialog(Panel& panel, const ControlDesign& design, Dialogs& dialogs);

    bool CancelError = false;
    int Flags = 0;
    QString Filter;
    int FilterIndex = 1;
    QString FileName;

    // Shows the dialog. Cancel raises the cancel failure when CancelError is set.
    void ShowSave();

private:
    Dialogs& dialogs_;
};

// The form's own size, in twips, and its Resize event.
class Form {
public:
    explicit Form(Panel& panel);
    int width() const { return width_; }
    int height() const { return height_; }
    void setWidth(int twips);
    void setHeight(int twips);
    // The window's title.
    const QString& caption() const { return caption_; }
    void setCaption(const QString& caption);

    std::function<void()> Resize;

private:
    void resize(int& side, int twips);
    Panel& panel_;
    // Until the window is first sized it measures its client area alone.
    int width_ = kDesignClientWidth;
    int height_ = kDesignClientHeight;
    QString caption_;
};

} // namespace sim
