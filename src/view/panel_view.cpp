#include "view/panel_view.h"

#include "panel/texts.h"
#include "platform/code_page.h"

#include <QAbstractListModel>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QTimer>

#include <algorithm>
#include <limits>
#include <optional>

namespace sim::view {
namespace {

// The original frame around the client area, in twips.
constexpr int kFrameWidth = 120;
constexpr int kFrameHeight = 405;
// List rows reach the screen in batches, so a burst of thousands cannot freeze the window.
constexpr int kRowBatchMs = 40;

int px(int twips) {
    return twips / kTwipsPerPixel;
}

QFont fontFor(Font font) {
    // Pixel sizes of the point sizes at 96 dpi, so that every display shows the same panel.
    QFont f(QStringLiteral("Arial"));
    f.setStyleHint(QFont::SansSerif);
    // Every attribute set, so that nothing is inherited from a bold frame.
    f.setBold(false);
    f.setItalic(false);
    f.setUnderline(false);
    switch (font) {
    case Font::Regular:
        f.setPixelSize(12);
        break;
    case Font::Bold:
        f.setPixelSize(12);
        f.setBold(true);
        break;
    case Font::List:
        f.setPixelSize(13);
        break;
    case Font::FormDefault:
        f.setPixelSize(11);
        break;
    }
    return f;
}

QColor colourFor(unsigned value) {
    if (value == colour::kButtonFace) {
        return QApplication::palette().color(QPalette::Button);
    }
    if (value == colour::kWindow) {
        return QApplication::palette().color(QPalette::Base);
    }
    return QColor(static_cast<int>(value & 0xFF), static_cast<int>((value >> 8) & 0xFF),
                  static_cast<int>((value >> 16) & 0xFF));
}

// The back colour of a box in every state, and the grey text of a disabled box, dark enough to read
// on the fixed grey as the system's grey text is.
void setBoxColours(QPalette& palette, unsigned back) {
    const QColor colour = colourFor(back);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        palette.setColor(group, QPalette::Base, colour);
    }
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x80, 0x80, 0x80));
}

// A label shows one ampersand for two; buttons and frames read the doubled one themselves.
QString labelText(const QString& caption) {
    return QString(caption).replace(QStringLiteral("&&"), QStringLiteral("&"));
}

int vbKeyCode(const QKeyEvent* e) {
    const int k = e->key();
    if ((k >= Qt::Key_0 && k <= Qt::Key_9) || (k >= Qt::Key_A && k <= Qt::Key_Z) || k == Qt::Key_Space) {
        return k;
    }
    switch (k) {
    case Qt::Key_Backspace:
        return 8;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return 13;
    case Qt::Key_Shift:
        return 16;
    case Qt::Key_Control:
        return 17;
    case Qt::Key_Alt:
        return 18;
    case Qt::Key_Escape:
        return 27;
    case Qt::Key_End:
        return 35;
    case Qt::Key_Home:
        return 36;
    case Qt::Key_Left:
        return 37;
    case Qt::Key_Up:
        return 38;
    case Qt::Key_Right:
        return 39;
    case Qt::Key_Down:
        return 40;
    case Qt::Key_Delete:
        return 46;
    case Qt::Key_Period:
        return 190;
    case Qt::Key_Comma:
        return 188;
    case Qt::Key_Minus:
        return 189;
    default:
        return k & 0xFF;
    }
}

int vbShift(Qt::KeyboardModifiers m) {
    return (m.testFlag(Qt::ShiftModifier) ? 1 : 0) | (m.testFlag(Qt::ControlModifier) ? 2 : 0) |
           (m.testFlag(Qt::AltModifier) ? 4 : 0);
}

// The form's icon from the files the desktop is given too; the 16 and 32 px images are drawn for their
// size.
QIcon formIcon() {
    QIcon icon;
    for (int size : {16, 32, 48, 256}) {
        icon.addFile(QStringLiteral(":/icons/%1.png").arg(size), QSize(size, size));
    }
    return icon;
}

// A frame drawn as the panel's frames are: an etched border whose top runs through the middle of the
// caption, and the caption a little in from the left on the frame's own background.
class FrameBox : public QWidget {
public:
    // The caption is the frame's accessible name too, as a group box's title is.
    FrameBox(QString caption, bool border, QWidget* parent)
        : QWidget(parent), caption_(std::move(caption)), border_(border) {
        setAccessibleName(caption_);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (!border_) {
            return;
        }
        QPainter p(this);
        const QFontMetrics fm(font());
        const int top = fm.height() / 2;
        const QRect box(0, top, width() - 2, height() - top - 2);
        p.setPen(palette().color(QPalette::Dark));
        p.drawRect(box);
        p.setPen(palette().color(QPalette::Light));
        p.drawRect(box.translated(1, 1));
        if (!caption_.isEmpty()) {
            const QString text = QString(caption_).replace(QStringLiteral("&&"), QStringLiteral("&"));
            const QRect textRect(kCaptionLeft, 0, fm.horizontalAdvance(text), fm.height());
            p.fillRect(textRect, palette().color(QPalette::Window));
            p.setPen(
                palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
            p.drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter, text);
        }
    }

private:
    static constexpr int kCaptionLeft = 6;
    QString caption_;
    bool border_;
};

} // namespace

// The rows of List1 as last shown; refreshed in batches from the model.
class RowsModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;
    int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(rows_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (role != Qt::DisplayRole || index.row() < 0 || index.row() >= static_cast<int>(rows_.size())) {
            return {};
        }
        return rows_.at(index.row());
    }
    void show(QStringList rows) {
        beginResetModel();
        rows_ = std::move(rows);
        endResetModel();
    }

private:
    QStringList rows_;
};

namespace {

// The character a key gives, as a keyboard gives it, or nothing for a key that gives none (Tab, the
// cursor keys, Delete, keys held with Alt or with Ctrl alone, which make no character but letters).
// The clipboard keys of the Insert and Delete block give the characters of their Ctrl twins, so that
// a box that refuses Ctrl+V refuses Shift+Insert too.
std::optional<QChar> characterOf(const QKeyEvent* e) {
    const Qt::KeyboardModifiers mods = e->modifiers();
    const bool ctrl = mods.testFlag(Qt::ControlModifier);
    const bool alt = mods.testFlag(Qt::AltModifier);
    const bool shift = mods.testFlag(Qt::ShiftModifier);
    constexpr char16_t kCopy = 3;
    constexpr char16_t kPaste = 22;
    constexpr char16_t kCut = 24;
    switch (e->key()) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Escape:
        return std::nullopt;
    case Qt::Key_Backspace:
        return QChar(ctrl ? char16_t{127} : char16_t{8});
    case Qt::Key_Insert:
        if (shift != ctrl) {
            return QChar(shift ? kPaste : kCopy);
        }
        return std::nullopt;
    case Qt::Key_Delete:
        if (shift && !ctrl) {
            return QChar(kCut);
        }
        return std::nullopt;
    default:
        break;
    }
    // Ctrl and Alt together stand for AltGr on some systems, which types characters.
    if (ctrl != alt) {
        if (ctrl && e->key() >= Qt::Key_A && e->key() <= Qt::Key_Z) {
            return QChar(static_cast<char16_t>(e->key() - Qt::Key_A + 1));
        }
        return std::nullopt;
    }
    const QString text = e->text();
    if (text.isEmpty()) {
        return std::nullopt;
    }
    return text.at(0);
}

} // namespace

// A text box: the model's character event runs first and may cancel or replace the character; what
// its handlers change is already in the widget when the key is applied.
class BoxEdit : public QLineEdit {
public:
    BoxEdit(PanelView& view, TextBox& box, QWidget* parent) : QLineEdit(parent), view_(view), box_(box) {
        setMaxLength(std::numeric_limits<int>::max()); // a box has no character limit
    }

protected:
    void keyPressEvent(QKeyEvent* e) override {
        const std::optional<QChar> ch = characterOf(e);
        if (!ch) {
            QLineEdit::keyPressEvent(e);
            return;
        }
        const int original = code_page::ansiCode(*ch);
        const int code = view_.op_.filterCharacter(box_, *ch);
        if (code == 0) {
            e->accept();
            return;
        }
        // A handler that turned the character into another printable one has that one typed instead.
        const bool replaced = code != original && code >= 32 && code != 127;
        if (replaced) {
            insert(QString(code_page::fromAnsiByte(static_cast<std::uint8_t>(code))));
        } else {
            QLineEdit::keyPressEvent(e);
        }
    }

    // A box entered by a click keeps the selection the model gave it on entry; the press would
    // otherwise put the caret where it landed.
    void mousePressEvent(QMouseEvent* e) override {
        const bool entered = view_.takeEntrySelection(box_);
        if (entered && e->button() == Qt::LeftButton) {
            e->accept();
            return;
        }
        QLineEdit::mousePressEvent(e);
    }

    // The middle button pastes the X11 selection: a paste, allowed where Ctrl+V is.
    void mouseReleaseEvent(QMouseEvent* e) override {
        if (e->button() == Qt::MiddleButton && QGuiApplication::clipboard()->supportsSelection() &&
            !pasteAllowed()) {
            e->accept();
            return;
        }
        QLineEdit::mouseReleaseEvent(e);
    }

    // Text dropped onto the box is a paste too.
    void dropEvent(QDropEvent* e) override {
        if (!pasteAllowed()) {
            e->ignore();
            return;
        }
        QLineEdit::dropEvent(e);
    }

private:
    bool pasteAllowed() { return view_.op_.filterCharacter(box_, QChar(char16_t{22})) != 0; }

    PanelView& view_;
    TextBox& box_;
};

PanelView::PanelView(Panel& panel, Operator& op) : panel_(panel), op_(op) {
    setWindowTitle(panel_.frmSimulator.caption());
    setWindowIcon(formIcon());
    setFont(fontFor(Font::Regular));
    rowTimer_ = new QTimer(this);
    rowTimer_->setSingleShot(true);
    rowTimer_->setInterval(kRowBatchMs);
    connect(rowTimer_, &QTimer::timeout, this, &PanelView::flushRows);
    build();
    panel_.observer = [this](Control* control, Prop prop) { changed(control, prop); };
    for (Control* c : panel_.controls()) {
        push(*c);
    }
    pushSize();
    flushRows();
    if (const QScreen* shown = screen()) {
        move(centredOn(shown->availableGeometry(), size()));
    }
}

QPoint PanelView::centredOn(const QRect& available, const QSize& size) {
    const int left = available.left() + (available.width() - size.width()) / 2;
    const int top = available.top() + (available.height() - size.height()) / 2;
    return {std::max(left, available.left()), std::max(top, available.top())};
}

bool PanelView::takeEntrySelection(const TextBox& box) {
    const bool keep = keptSelection_ == &box;
    keptSelection_ = nullptr;
    return keep;
}

PanelView::~PanelView() {
    panel_.observer = nullptr;
}

QSize PanelView::clientSize(int widthTwips, int heightTwips) {
    return {px(widthTwips - kFrameWidth), px(heightTwips - kFrameHeight)};
}

QWidget* PanelView::widgetFor(const Control& control) const {
    auto it = widgets_.find(&control);
    return it == widgets_.end() ? nullptr : it->second;
}

void PanelView::build() {
    for (Control* c : panel_.controls()) {
        QWidget* parent = c->holder() != nullptr ? widgetFor(*c->holder()) : this;
        if (QWidget* w = create(*c, parent)) {
            const Geometry& g = c->design().geometry;
            w->setGeometry(px(g.left), px(g.top), px(g.width), px(g.height));
            w->setFont(fontFor(c->design().font));
            widgets_[c] = w;
            controls_[w] = c;
            w->installEventFilter(this);
        }
    }
    // Controls are opaque and lie over the frames beside them (the check box over the program steps'
    // caption, whose closing bracket it hides); labels lie under the other controls.
    for (bool labels : {true, false}) {
        for (auto& [control, widget] : widgets_) {
            if (control->kind() != Kind::Frame && (control->kind() == Kind::Label) == labels) {
                widget->setAutoFillBackground(true);
                widget->raise();
            }
        }
    }
    // Tab order follows the tab positions of the table.
    std::vector<Control*> order;
    for (Control* c : panel_.controls()) {
        if (c->canHoldFocus() && widgetFor(*c) != nullptr) {
            order.push_back(c);
        }
    }
    std::ranges::sort(order, {}, [](const Control* c) { return c->design().tab; });
    for (std::size_t i = 1; i < order.size(); ++i) {
        QWidget::setTabOrder(widgetFor(*order[i - 1]), widgetFor(*order[i]));
    }
}

QWidget* PanelView::create(Control& control, QWidget* parent) {
    switch (control.kind()) {
    case Kind::Frame:
        return new FrameBox(static_cast<Frame&>(control).caption(),
                            (control.design().flags & kBorderless) == 0, parent);
    case Kind::Label: {
        auto* label = new QLabel(parent);
        label->setAlignment(((control.design().flags & kRightAligned) != 0 ? Qt::AlignRight : Qt::AlignLeft) |
                            Qt::AlignTop);
        if (control.Click) {
            label->setCursor(Qt::PointingHandCursor);
        }
        return label;
    }
    case Kind::TextBox: {
        auto& box = static_cast<TextBox&>(control);
        auto* edit = new BoxEdit(*this, box, parent);
        edit->setReadOnly(box.readOnly());
        connect(edit, &QLineEdit::textEdited, this,
                [this, &box, edit](const QString& text) { op_.edited(box, text, edit->cursorPosition()); });
        connect(edit, &QLineEdit::selectionChanged, this, [this, &box, edit] {
            if (!pushing_) {
                const int start = edit->hasSelectedText() ? edit->selectionStart() : edit->cursorPosition();
                op_.select(box, start, static_cast<int>(edit->selectedText().size()));
            }
        });
        connect(edit, &QLineEdit::cursorPositionChanged, this, [this, &box, edit](int, int now) {
            if (!pushing_ && !edit->hasSelectedText()) {
                op_.select(box, now, 0);
            }
        });
        return edit;
    }
    case Kind::OptionButton: {
        auto* radio = new QRadioButton(static_cast<OptionButton&>(control).caption(), parent);
        radio->setAutoExclusive(false); // the model keeps one selected per holder
        connect(radio, &QRadioButton::clicked, this, [this, &control] {
            op_.click(control);
            push(control);
        });
        return radio;
    }
    case Kind::CheckBox: {
        auto* check = new QCheckBox(static_cast<CheckBox&>(control).caption(), parent);
        connect(check, &QCheckBox::clicked, this, [this, &control] {
            op_.click(control);
            push(control);
        });
        return check;
    }
    case Kind::Button: {
        auto* button = new QPushButton(parent);
        connect(button, &QPushButton::clicked, this, [this, &control] { op_.click(control); });
        return button;
    }
    case Kind::ComboBox: {
        auto& model = static_cast<ComboBox&>(control);
        auto* combo = new QComboBox(parent);
        combo->setEditable(true);
        combo->setInsertPolicy(QComboBox::NoInsert);
        combo->setMaxVisibleItems(8);
        combo->addItems(model.entries());
        combo->lineEdit()->setMaxLength(std::numeric_limits<int>::max());
        connect(combo, &QComboBox::activated, this, [this, &model](int index) { op_.choose(model, index); });
        connect(combo->lineEdit(), &QLineEdit::textEdited, this,
                [this, &model](const QString& text) { op_.edited(model, text); });
        return combo;
    }
    case Kind::ListBox: {
        list_ = new QListView(parent);
        rows_ = new RowsModel(list_);
        list_->setModel(rows_);
        list_->setUniformItemSizes(true);
        list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
        return list_;
    }
    default:
        return nullptr; // timers, sockets and the dialog have no place on the screen
    }
}

void PanelView::changed(Control* control, Prop prop) {
    if (control == nullptr) {
        if (prop == Prop::Caption) {
            setWindowTitle(panel_.frmSimulator.caption());
        } else {
            pushSize();
        }
        return;
    }
    if (prop == Prop::Selection && control == entering_) {
        entrySelected_ = true;
    }
    switch (prop) {
    case Prop::Rows:
    case Prop::ListIndex:
        if (control->kind() == Kind::ListBox) {
            if (!rowTimer_->isActive()) {
                rowTimer_->start();
            }
            return;
        }
        break;
    case Prop::Focus:
        pushFocus(control);
        return;
    default:
        break;
    }
    push(*control);
}

void PanelView::push(Control& control) {
    QWidget* w = widgetFor(control);
    if (w == nullptr) {
        return;
    }
    pushing_ = true;
    w->setEnabled(control.enabled());
    switch (control.kind()) {
    case Kind::Label:
        static_cast<QLabel*>(w)->setText(labelText(static_cast<Label&>(control).caption()));
        break;
    case Kind::Button:
        static_cast<QPushButton*>(w)->setText(static_cast<Button&>(control).caption());
        break;
    case Kind::OptionButton:
        static_cast<QRadioButton*>(w)->setChecked(static_cast<OptionButton&>(control).value());
        break;
    case Kind::CheckBox: {
        const int value = static_cast<CheckBox&>(control).value();
        static_cast<QCheckBox*>(w)->setCheckState(value == 0   ? Qt::Unchecked
                                                  : value == 1 ? Qt::Checked
                                                               : Qt::PartiallyChecked);
        break;
    }
    case Kind::TextBox: {
        auto& box = static_cast<TextBox&>(control);
        auto* edit = static_cast<QLineEdit*>(w);
        if (edit->text() != box.text()) {
            edit->setText(box.text());
        }
        if (box.selLength() > 0) {
            edit->setSelection(box.selStart(), box.selLength());
        } else if (edit->hasSelectedText() || edit->cursorPosition() != box.selStart()) {
            edit->setCursorPosition(box.selStart());
        }
        QPalette palette = edit->palette();
        setBoxColours(palette, box.backColor());
        edit->setPalette(palette);
        break;
    }
    case Kind::ComboBox: {
        auto& model = static_cast<ComboBox&>(control);
        auto* combo = static_cast<QComboBox*>(w);
        if (combo->currentIndex() != model.listIndex()) {
            combo->setCurrentIndex(model.listIndex());
        }
        if (combo->currentText() != model.text()) {
            combo->setEditText(model.text());
        }
        QPalette palette = combo->palette();
        setBoxColours(palette, model.backColor());
        combo->setPalette(palette);
        break;
    }
    default:
        break;
    }
    pushing_ = false;
}

void PanelView::pushFocus(Control* control) {
    QWidget* w = control != nullptr ? widgetFor(*control) : nullptr;
    if (w != nullptr && !w->hasFocus()) {
        pushing_ = true;
        w->setFocus(Qt::OtherFocusReason);
        pushing_ = false;
    }
}

void PanelView::pushSize() {
    setFixedSize(clientSize(panel_.frmSimulator.width(), panel_.frmSimulator.height()));
}

void PanelView::flushRows() {
    rowTimer_->stop();
    rows_->show(panel_.List1.rows());
    const int index = panel_.List1.listIndex();
    if (index >= 0) {
        const QModelIndex at = rows_->index(index);
        list_->setCurrentIndex(at);
        list_->scrollTo(at);
    }
}

bool PanelView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyRelease) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (!key->isAutoRepeat()) {
            // The release belongs to whichever box holds the focus now, wherever the toolkit sent it:
            // the model routes it. Taken here, it does not travel on to the holders.
            op_.keyUp(vbKeyCode(key), vbShift(key->modifiers()));
        }
        return true;
    }
    if (event->type() == QEvent::FocusIn && !pushing_) {
        reportFocus(watched, static_cast<QFocusEvent*>(event)->reason());
    }
    if (event->type() == QEvent::MouseButtonRelease) {
        auto it = controls_.find(static_cast<QWidget*>(watched));
        if (it != controls_.end() && it->second->kind() == Kind::Label && it->second->Click) {
            op_.click(*it->second);
        }
    }
    return QWidget::eventFilter(watched, event);
}

void PanelView::reportFocus(QObject* watched, Qt::FocusReason reason) {
    keptSelection_ = nullptr;
    // Focus that comes back from a dialog or another window is no move between controls. The first
    // focus of the window is one, though: the model learns where the focus starts.
    if (reason == Qt::PopupFocusReason ||
        (reason == Qt::ActiveWindowFocusReason && panel_.focused() != nullptr)) {
        return;
    }
    auto it = controls_.find(static_cast<QWidget*>(watched));
    if (it == controls_.end()) {
        return;
    }
    Control& control = *it->second;
    // A button pressed with the mouse takes the focus with its click: a redirect that LostFocus makes
    // at the press would take the press away from the button and swallow the click.
    const bool clickFollows = reason == Qt::MouseFocusReason &&
                              (control.kind() == Kind::Button || control.kind() == Kind::OptionButton ||
                               control.kind() == Kind::CheckBox);
    if (clickFollows) {
        return;
    }
    // A box clicked into keeps what its entry selected, if the model selected anything on entry.
    entering_ = reason == Qt::MouseFocusReason ? &control : nullptr;
    entrySelected_ = false;
    op_.focus(control);
    if (entering_ != nullptr && entrySelected_ && panel_.focused() == &control) {
        keptSelection_ = &control;
    }
    entering_ = nullptr;
}

void PanelView::closeEvent(QCloseEvent* event) {
    event->accept();
    op_.closeWindow();
}

} // namespace sim::view
