#include "panel/controls.h"

#include "panel/panel.h"
#include "panel/texts.h"
#include "platform/runtime_failure.h"
#include "platform/scoped_flag.h"

#include <algorithm>
#include <utility>

namespace sim {
namespace {

RuntimeFailure invalidValue() {
    return RuntimeFailure(failure::kInvalidPropertyValue);
}

QStringList designEntries(Entries entries) {
    QStringList list;
    switch (entries) {
    case Entries::Seconds:
        for (int i = 1; i <= 15; ++i) {
            list << QString::number(i);
        }
        break;
    case Entries::Count:
        list << QLatin1String(texts::kEndless);
        for (int i = 1; i <= 50; ++i) {
            list << QString::number(i);
        }
        break;
    case Entries::Milliseconds:
        for (int i = 100; i <= 900; i += 100) {
            list << QString::number(i);
        }
        for (int i = 1000; i <= 30000; i += 1000) {
            list << QString::number(i);
        }
        break;
    case Entries::None:
        break;
    }
    return list;
}

} // namespace

// ---- Control ----

Control::Control(Panel& panel, const ControlDesign& design)
    : panel_(panel), design_(design), enabled_((design.flags & kDisabled) == 0) {}

QString Control::name() const {
    QString n = QString::fromLatin1(design_.name);
    if (design_.index >= 0) {
        n += QStringLiteral("(%1)").arg(design_.index);
    }
    return n;
}

void Control::setEnabled(bool on) {
    if (enabled_ != on) {
        enabled_ = on;
        changed(Prop::Enabled);
    }
}

bool Control::takesInput() const {
    for (const Control* c = this; c != nullptr; c = c->holder()) {
        if (!c->enabled()) {
            return false;
        }
    }
    return true;
}

bool Control::canHoldFocus() const {
    switch (kind()) {
    case Kind::TextBox:
    case Kind::OptionButton:
    case Kind::CheckBox:
    case Kind::Button:
    case Kind::ComboBox:
    case Kind::ListBox:
        return true;
    default:
        return false;
    }
}

void Control::setFocus() {
    if (!canHoldFocus() || !takesInput()) {
        throw RuntimeFailure(failure::kInvalidProcedureCall);
    }
    panel_.moveFocus(this);
}

void Control::changed(Prop prop) {
    panel_.notify(this, prop);
}

// ---- Label, Button ----

Captioned::Captioned(Panel& panel, const ControlDesign& design)
    : Control(panel, design), caption_(QString::fromLatin1(design.caption)) {}

void Captioned::setCaption(const QString& caption) {
    if (caption_ != caption) {
        caption_ = caption;
        changed(Prop::Caption);
    }
}

// ---- OptionButton, CheckBox ----

OptionButton::OptionButton(Panel& panel, const ControlDesign& design)
    : Control(panel, design), value_((design.flags & kSelected) != 0) {}

void OptionButton::setValue(bool on) {
    if (value_ == on) {
        return;
    }
    value_ = on;
    if (on) {
        for (Control* c : panel_.controls()) {
            if (c != this && c->kind() == Kind::OptionButton && c->holder() == holder()) {
                auto* other = static_cast<OptionButton*>(c);
                if (other->value_) {
                    other->value_ = false;
                    other->changed(Prop::Value);
                }
            }
        }
    }
    changed(Prop::Value);
    if (on && Click) {
        Click();
    }
}

CheckBox::CheckBox(Panel& panel, const ControlDesign& design) : Control(panel, design) {}

void CheckBox::setValue(Int16 value) {
    if (value < 0 || value > 2) {
        throw invalidValue();
    }
    if (value_ == value) {
        return;
    }
    value_ = value;
    changed(Prop::Value);
    if (Click) {
        Click();
    }
}

// ---- TextBox ----

TextBox::TextBox(Panel& panel, const ControlDesign& design)
    : Control(panel, design), text_(QString::fromLatin1(design.caption)), backColor_(design.back) {}

void TextBox::setText(const QString& text) {
    applyOperatorEdit(text, 0);
}

void TextBox::applyOperatorEdit(const QString& text, int caret) {
    const bool differs = text_ != text;
    text_ = text;
    selStart_ = std::clamp(caret, 0, static_cast<int>(text_.size()));
    selLength_ = 0;
    changed(Prop::Text);
    if (differs && Change) {
        Change();
    }
}

void TextBox::setSelStart(int start) {
    if (start < 0) {
        throw invalidValue();
    }
    selStart_ = static_cast<int>(std::min<qsizetype>(start, text_.size()));
    selLength_ = 0;
    changed(Prop::Selection);
}

void TextBox::setSelLength(int length) {
    if (length < 0) {
        throw invalidValue();
    }
    selLength_ = static_cast<int>(std::min<qsizetype>(length, text_.size() - selStart_));
    changed(Prop::Selection);
}

QString TextBox::selText() const {
    return text_.mid(selStart_, selLength_);
}

void TextBox::setSelText(const QString& text) {
    const int start = selStart_;
    QString next = text_;
    next.replace(start, selLength_, text);
    applyOperatorEdit(next, start + static_cast<int>(text.size()));
}

void TextBox::setBackColor(unsigned colour) {
    if (backColor_ != colour) {
        backColor_ = colour;
        changed(Prop::BackColor);
    }
}

// ---- ComboBox ----

ComboBox::ComboBox(Panel& panel, const ControlDesign& design)
    : Control(panel, design), entries_(designEntries(design.entries)), backColor_(design.back) {}

void ComboBox::setText(const QString& text) {
    if (text_ != text) {
        text_ = text;
        changed(Prop::Text);
    }
}

void ComboBox::setListIndex(int index) {
    if (index < -1 || index >= entries_.size()) {
        throw invalidValue();
    }
    listIndex_ = index;
    changed(Prop::ListIndex);
    if (index >= 0) {
        setText(entries_.at(index));
    }
}

void ComboBox::setBackColor(unsigned colour) {
    if (backColor_ != colour) {
        backColor_ = colour;
        changed(Prop::BackColor);
    }
}

// ---- ListBox ----

ListBox::Batch::~Batch() {
    if (--list_.batches_ == 0) {
        if (std::exchange(list_.rowsChanged_, false)) {
            list_.changed(Prop::Rows);
        }
        if (std::exchange(list_.indexChanged_, false)) {
            list_.changed(Prop::ListIndex);
        }
    }
}

void ListBox::listChanged(Prop prop) {
    if (batches_ == 0) {
        changed(prop);
    } else {
        (prop == Prop::Rows ? rowsChanged_ : indexChanged_) = true;
    }
}

void ListBox::addItem(const QString& row) {
    push(row, 0, -1);
}

void ListBox::addPiece(const QString& text, qsizetype from, qsizetype size) {
    push(text, from, size);
}

void ListBox::push(const QString& text, qsizetype from, qsizetype size) {
    // The pieces of one record's text come one after another: they share the text the list holds.
    const bool shared = size >= 0 && !texts_.empty() && texts_.back().isSharedWith(text);
    if (!shared) {
        texts_.push_back(text);
    }
    rows_.push_back({firstText_ + texts_.size() - 1, from, size});
    listChanged(Prop::Rows);
    if (rowAdded) {
        rowAdded(toString(rows_.back()));
    }
}

QString ListBox::toString(const Row& row) const {
    const QString& text = texts_[static_cast<std::size_t>(row.text - firstText_)];
    return row.size < 0 ? text : text.mid(row.from, row.size);
}

void ListBox::dropUnnamedTexts() {
    const std::uint64_t oldest = rows_.empty() ? firstText_ + texts_.size() : rows_.front().text;
    while (firstText_ < oldest) {
        texts_.pop_front();
        ++firstText_;
    }
}

QStringList ListBox::rows() const {
    QStringList out;
    out.reserve(static_cast<qsizetype>(rows_.size()));
    for (const Row& r : rows_) {
        out.push_back(toString(r));
    }
    return out;
}

void ListBox::removeItem(int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= rows_.size()) {
        throw invalidValue();
    }
    if (index == 0) {
        rows_.pop_front(); // the oldest row, as the list's upkeep removes it
        dropUnnamedTexts();
    } else {
        rows_.erase(rows_.begin() + index);
    }
    if (listIndex_ == index) {
        listIndex_ = -1;
    } else if (listIndex_ > index) {
        --listIndex_;
    }
    listChanged(Prop::Rows);
}

void ListBox::removeOldest(int count) {
    if (count < 0 || static_cast<std::size_t>(count) > rows_.size()) {
        throw invalidValue();
    }
    if (count == 0) {
        return;
    }
    rows_.erase(rows_.begin(), rows_.begin() + count);
    dropUnnamedTexts();
    listIndex_ = listIndex_ < count ? Int16(-1) : Int16(listIndex_ - count);
    listChanged(Prop::Rows);
}

void ListBox::clear() {
    rows_.clear();
    dropUnnamedTexts();
    listIndex_ = -1;
    listChanged(Prop::Rows);
}

void ListBox::setListIndex(int index) {
    if (index < -1 || index >= static_cast<int>(rows_.size())) {
        throw invalidValue();
    }
    listIndex_ = index;
    listChanged(Prop::ListIndex);
}

// ---- Timer ----

Timer::Timer(Panel& panel, const ControlDesign& design, TimerFactory& timers)
    : Control(panel, design), interval_(design.interval), timer_(timers.createTimer([this] { tick(); })) {
    rearm();
}

void Timer::setInterval(int ms) {
    if (ms < 0 || ms > 65535) {
        throw invalidValue();
    }
    interval_ = ms;
    rearm();
}

void Timer::setEnabled(bool on) {
    Control::setEnabled(on);
    rearm();
}

void Timer::rearm() {
    running_ = enabled() && interval_ > 0;
    if (running_) {
        timer_->start(interval_);
    } else {
        timer_->stop();
    }
}

void Timer::tick() {
    if (!running_ || inHandler_ || !Tick) {
        return;
    }
    const ScopedFlag inHandler(inHandler_);
    panel_.dispatch(Tick);
}

// ---- SaveDialog ----

SaveDialog::SaveDialog(Panel& panel, const ControlDesign& design, Dialogs& dialogs)
    : Control(panel, design), dialogs_(dialogs) {}

void SaveDialog::ShowSave() {
    SaveDialogRequest request;
    request.fileName = FileName;
    request.filter = Filter;
    request.filterIndex = FilterIndex;
    request.promptOverwrite = (Flags & 2) != 0;
    if (auto chosen = dialogs_.showSave(request)) {
        FileName = *chosen;
    } else if (CancelError) {
        throw RuntimeFailure(failure::kCancelSelected, failure::description(failure::kCancelSelected),
                             QStringLiteral("CommonDialog"));
    }
}

// ---- Form ----

void Form::setWidth(int twips) {
    resize(width_, twips);
}

void Form::setHeight(int twips) {
    resize(height_, twips);
}

Form::Form(Panel& panel) : panel_(panel), caption_(QLatin1String(texts::kFormCaption)) {}

void Form::setCaption(const QString& caption) {
    if (caption_ != caption) {
        caption_ = caption;
        panel_.notify(nullptr, Prop::Caption);
    }
}

void Form::resize(int& side, int twips) {
    if (side != twips) {
        side = twips;
        panel_.notify(nullptr, Prop::Size);
        if (Resize) {
            Resize();
        }
    }
}

} // namespace sim
