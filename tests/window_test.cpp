#include "mixed_platform.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <qpa/qwindowsysteminterface.h>

#include <gtest/gtest.h>

#include <optional>

// The window with the real handlers wired as the program wires them, driven through its widgets with
// the keys and clicks an operator makes. Nothing dials out: the network is the simulated one.
namespace sim::test {
namespace {

const QString kAddressKey = QStringLiteral("TK7300_SIMUL/Simulator/ADDRESS");
const QString kPortKey = QStringLiteral("TK7300_SIMUL/Simulator/PORT");

Qt::Key keyOf(QChar c) {
    const char16_t u = c.toUpper().unicode();
    if ((u >= u'0' && u <= u'9') || (u >= u'A' && u <= u'Z')) {
        return static_cast<Qt::Key>(u);
    }
    switch (u) {
    case u'.':
        return Qt::Key_Period;
    case u' ':
        return Qt::Key_Space;
    case u'-':
        return Qt::Key_Minus;
    default:
        return Qt::Key_unknown;
    }
}

struct Window : ::testing::Test {
    MixedPlatform mixed;
    SimNetwork network{mixed.dialogTime};
    std::optional<FrmSimulator> form;
    std::optional<view::PanelView> view;
    Panel* p = nullptr;

    Platform platform(Dialogs& dialogs) {
        return {mixed.pump,  mixed.timers,  network,       dialogs,    mixed.settings,
                mixed.clock, mixed.folders, mixed.browser, mixed.files};
    }
    // Loads the form with this saved address, shows the window and makes it the active one.
    void open(const char* savedAddress = nullptr, Dialogs* dialogs = nullptr) {
        if (savedAddress != nullptr) {
            mixed.settings.values[kAddressKey] = QString::fromLatin1(savedAddress);
        }
        form.emplace(platform(dialogs != nullptr ? *dialogs : mixed.dialogs));
        form->load();
        p = &form->panel();
        view.emplace(*p, form->op());
        view->show();
        QApplication::setActiveWindow(&*view);
    }
    void SetUp() override { open(); }

    QWidget* widget(const Control& c) { return view->widgetFor(c); }
    QLineEdit* edit(const Control& c) { return qobject_cast<QLineEdit*>(widget(c)); }
    TextBox& box(int i) { return p->txt_Destination_IP(i); }
    QWidget* focus() { return QApplication::focusWidget(); }

    // A key as a keyboard sends it: down to the widget that holds the focus then, up to the one that
    // holds it when the key comes up.
    void key(Qt::Key k, Qt::KeyboardModifiers mods = Qt::NoModifier, const QString& text = {}) {
        QWidget* down = focus();
        ASSERT_NE(down, nullptr);
        QTest::sendKeyEvent(QTest::Press, down, k, text, mods);
        QWidget* up = focus();
        ASSERT_NE(up, nullptr);
        QTest::sendKeyEvent(QTest::Release, up, k, text, mods);
    }
    void type(const QString& text) {
        for (QChar c : text) {
            key(keyOf(c), Qt::NoModifier, QString(c));
        }
    }
    void click(const Control& c) { QTest::mouseClick(widget(c), Qt::LeftButton); }
    QStringList boxes() {
        QStringList out;
        for (int i = 0; i < 4; ++i) {
            out << box(i).text();
        }
        return out;
    }
    std::vector<QString> shown() {
        std::vector<QString> out;
        for (const auto& d : mixed.dialogs.shown) {
            out.push_back(d.text);
        }
        return out;
    }
    void setBoxes(std::array<const char*, 4> octets) {
        for (int i = 0; i < 4; ++i) {
            box(i).setText(QString::fromLatin1(octets.at(static_cast<std::size_t>(i))));
        }
    }
    // What the window shows agrees with the model, and the store holds what the boxes show.
    void expectShownAndSaved() {
        for (const Control* c : p->controls()) {
            if (c->kind() == Kind::TextBox) {
                EXPECT_EQ(edit(*c)->text(), static_cast<const TextBox*>(c)->text())
                    << c->name().toStdString();
            } else if (c->kind() == Kind::ComboBox) {
                EXPECT_EQ(qobject_cast<QComboBox*>(widget(*c))->currentText(),
                          static_cast<const ComboBox*>(c)->text())
                    << c->name().toStdString();
            }
        }
        EXPECT_EQ(mixed.settings.values[kAddressKey], boxes().join(u'.') + u'.');
        EXPECT_EQ(mixed.settings.values[kPortKey], p->txt_Destination_Port.text());
    }
};

TEST_F(Window, OpensCentredWithTheFocusInTheFirstBoxAndTheModelKnowsIt) {
    const QRect screen = view->screen()->availableGeometry();
    EXPECT_EQ(view->pos(), view::PanelView::centredOn(screen, view->size()));
    EXPECT_EQ(view::PanelView::centredOn(QRect(0, 0, 1920, 1080), QSize(731, 724)), QPoint(594, 178));
    EXPECT_EQ(view::PanelView::centredOn(QRect(1920, 0, 1280, 1024), QSize(731, 724)), QPoint(2194, 150));
    // A screen too small for the window keeps its title bar in reach.
    EXPECT_EQ(view::PanelView::centredOn(QRect(0, 30, 800, 600), QSize(731, 724)), QPoint(34, 30));

    EXPECT_EQ(focus(), widget(box(0)));
    EXPECT_EQ(p->focused(), &box(0));
    EXPECT_EQ(edit(box(0))->selectedText(), QStringLiteral("100")) << "entered, so all of it is selected";
    type(QStringLiteral("7"));
    EXPECT_EQ(box(0).text(), QStringLiteral("7"));
}

TEST_F(Window, TheFirstDepartureFromTheFirstBoxIsTested) {
    view.reset();
    form.reset();
    open("300.1.1.1.");
    ASSERT_EQ(p->focused(), &box(0));
    click(p->txt_Destination_Port);
    EXPECT_EQ(shown(), std::vector<QString>{QStringLiteral("IP Address Value Cross Limit")});
    EXPECT_EQ(box(0).text(), QString());
    EXPECT_EQ(focus(), widget(box(0)));
    EXPECT_EQ(mixed.settings.values[kAddressKey], QStringLiteral(".1.1.1."));
}

TEST_F(Window, ClickingTheFirstBoxAndTypingAnAddressFillsTheFourBoxes) {
    click(p->txt_Data_Input);
    click(box(0));
    EXPECT_EQ(edit(box(0))->selectedText(), QStringLiteral("100")) << "the click keeps the entry's selection";
    type(QStringLiteral("192168"));
    type(QStringLiteral("0"));
    type(QStringLiteral("."));
    type(QStringLiteral("5"));
    EXPECT_EQ(boxes(), (QStringList{"192", "168", "0", "5"}));
    EXPECT_EQ(focus(), widget(box(3)));
    EXPECT_EQ(p->focused(), &box(3));
    EXPECT_EQ(mixed.settings.values[kAddressKey], QStringLiteral("192.168.0.5."));
    EXPECT_TRUE(mixed.dialogs.shown.empty());
    expectShownAndSaved();
}

TEST_F(Window, ThreeHundredInTheSecondBoxIsRefusedOnceAndTheBoxKeepsTheFocus) {
    click(box(1));
    type(QStringLiteral("300"));
    EXPECT_EQ(shown(), std::vector<QString>{QStringLiteral(" Please Check your IP Address Format")});
    EXPECT_EQ(mixed.dialogs.shown[0].title, QStringLiteral("IP Address Error"));
    EXPECT_EQ(box(1).text(), QString());
    EXPECT_EQ(edit(box(1))->text(), QString());
    EXPECT_EQ(focus(), widget(box(1)));
    EXPECT_EQ(p->focused(), &box(1));
    type(QStringLiteral("25"));
    EXPECT_EQ(box(1).text(), QStringLiteral("25"));
    expectShownAndSaved();
}

TEST_F(Window, TabFollowsTheTabPositionsAndAFullBoxPassesTheFocusOnAtEachRelease) {
    key(Qt::Key_Tab);
    EXPECT_EQ(focus(), widget(p->txt_Destination_Port));
    EXPECT_EQ(p->focused(), &p->txt_Destination_Port);
    // Shift+Tab back into box 0, which holds three characters: the Tab's release moves on to box 1,
    // and the Shift key's, coming up after it, on to box 2.
    key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focus(), widget(box(2)));
    EXPECT_EQ(p->focused(), &box(2));
    EXPECT_EQ(edit(box(2))->selectedText(), QStringLiteral("100"));
}

TEST_F(Window, EveryWayOutOfTheLastBoxInRangeLandsOnThePortBox) {
    click(box(3));
    click(box(1));
    EXPECT_EQ(focus(), widget(p->txt_Destination_Port));
    EXPECT_EQ(p->focused(), &p->txt_Destination_Port);

    click(box(3));
    key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(p->focused(), &p->txt_Destination_Port);

    p->List1.addItem(QStringLiteral("row"));
    click(box(3));
    click(p->cmd_Log);
    EXPECT_EQ(p->List1.listCount(), 0) << "the click still lands";
    EXPECT_EQ(focus(), widget(p->txt_Destination_Port));
}

TEST_F(Window, BackspaceInZeroBoxesWalksBackTwoBoxesInOnePress) {
    setBoxes({"10", "0", "0", ""});
    click(box(2));
    key(Qt::Key_End); // a key like any other: its release at length 1 moves nothing
    key(Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    EXPECT_EQ(boxes(), (QStringList{"10", "0", "", ""}));
    EXPECT_EQ(focus(), widget(box(0)));
    EXPECT_EQ(edit(box(0))->selectedText(), QStringLiteral("10"));
    expectShownAndSaved();
}

// ---- what reaches a box other than by a typed character ----

// Opens the box's context menu and chooses Paste, as the operator would with the mouse.
void pasteFromMenu(QWidget* target) {
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, QPoint(2, 2), target->mapToGlobal(QPoint(2, 2)));
    QApplication::sendEvent(target, &menuEvent);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    QAction* paste = nullptr;
    for (QAction* action : menu->actions()) {
        if (action->text().startsWith(QStringLiteral("&Paste"))) {
            paste = action;
        }
    }
    ASSERT_NE(paste, nullptr);
    paste->trigger();
    menu->close();
}

// Drags text from elsewhere over the box and lets it go there.
void drop(QWidget* target, const QString& text) {
    QMimeData data;
    data.setText(text);
    QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QDropEvent event(QPointF(2, 2), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
}

TEST_F(Window, PastesByKeyOrDropAreAllowedWhereCtrlVIsAndTheMenusPasteAlways) {
    QApplication::clipboard()->setText(QStringLiteral("1.5x"));
    setBoxes({"1", "2", "3", "4"});
    click(box(1));
    key(Qt::Key_V, Qt::ControlModifier, QStringLiteral("v"));
    key(Qt::Key_Insert, Qt::ShiftModifier);
    drop(widget(box(1)), QStringLiteral("abc"));
    if (QApplication::clipboard()->supportsSelection()) {
        QTest::mouseClick(widget(box(1)), Qt::MiddleButton);
    }
    EXPECT_EQ(box(1).text(), QStringLiteral("2"))
        << "the address boxes refuse Ctrl+V and every paste like it";
    // The context menu's Paste is the operator's deliberate choice: it is not filtered, and the
    // leaving test reads the number the text begins with (1.5 passes).
    click(box(2));
    pasteFromMenu(widget(box(2)));
    EXPECT_EQ(box(2).text(), QStringLiteral("1.5x"));
    click(p->txt_Data_Input);
    EXPECT_TRUE(mixed.dialogs.shown.empty());
    EXPECT_EQ(mixed.settings.values[kAddressKey], QStringLiteral("1.2.1.5x.4."));

    // In ASCII the data box takes Ctrl+V, so it takes the other pastes too; in hex it refuses them all.
    QLineEdit* data = edit(p->txt_Data_Input);
    key(Qt::Key_V, Qt::ControlModifier, QStringLiteral("v"));
    key(Qt::Key_Insert, Qt::ShiftModifier);
    drop(data, QStringLiteral("Z"));
    EXPECT_EQ(p->txt_Data_Input.text().count(QStringLiteral("1.5x")), 2);
    EXPECT_TRUE(p->txt_Data_Input.text().contains(u'Z'));
    click(p->opt_HexA);
    click(p->txt_Data_Input);
    key(Qt::Key_V, Qt::ControlModifier, QStringLiteral("v"));
    key(Qt::Key_Insert, Qt::ShiftModifier);
    drop(data, QStringLiteral("41"));
    EXPECT_EQ(p->txt_Data_Input.text(), QString());
    expectShownAndSaved();
}

TEST_F(Window, ALongTextArrivesWholeAndEditsPastSixteenBitsWork) {
    // 40,001 hexadecimal digits, pasted from the menu: nothing cuts them.
    click(p->opt_HexA);
    QApplication::clipboard()->setText(QString(40001, u'7'));
    click(p->txt_Data_Input);
    pasteFromMenu(edit(p->txt_Data_Input));
    EXPECT_EQ(p->txt_Data_Input.text().size(), 40001);
    EXPECT_EQ(p->Label9.caption(), QStringLiteral("20000"));
    key(Qt::Key_End);
    key(Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    key(Qt::Key_Left);
    type(QStringLiteral("A"));
    EXPECT_EQ(p->txt_Data_Input.text().size(), 40001);
    EXPECT_EQ(p->txt_Data_Input.text().right(2), QStringLiteral("A7"));
    EXPECT_EQ(p->txt_Data_Input.selStart(), 40000);
    EXPECT_TRUE(mixed.dialogs.shown.empty()) << "no Overflow";
    // The combo boxes' edit fields take a long text whole too.
    QApplication::clipboard()->setText(QString(40000, u'9'));
    click(p->opt_Send_Only);
    auto* gap = qobject_cast<QComboBox*>(widget(p->com_Timegap));
    gap->lineEdit()->setFocus();
    key(Qt::Key_A, Qt::ControlModifier, QStringLiteral("a"));
    key(Qt::Key_V, Qt::ControlModifier, QStringLiteral("v"));
    EXPECT_EQ(p->com_Timegap.text().size(), 40000);
}

// Into every box of the panel, what an operator might type or paste: the program stays up, each
// filter holds, and the store holds what the boxes show.
TEST_F(Window, EveryBoxWithstandsWhatAnOperatorMightTypeOrPaste) {
    // Everything the operator could reach at some time is made reachable at once.
    for (Control* c : p->controls()) {
        if (c->kind() != Kind::Timer && c->kind() != Kind::SaveDialog) {
            c->setEnabled(true);
        }
    }
    const QString sample = QStringLiteral("1a. 9Z-0\u00E9\u4E2D\u20AC7b5\u00A0F3.");
    QString burst;
    for (int i = 0; i < 2000; ++i) {
        burst += sample.at(i % sample.size());
    }
    const QString longPaste(40000, u'5');
    // A combo box holds the focus for its edit field.
    const auto inBox = [this] {
        return qobject_cast<QLineEdit*>(focus()) != nullptr || qobject_cast<QComboBox*>(focus()) != nullptr;
    };
    const auto keys = [&](const QString& text) {
        for (QChar c : text) {
            // Keys go only into boxes: a key on a button would press it.
            if (!inBox()) {
                return;
            }
            key(keyOf(c), Qt::NoModifier, QString(c));
        }
    };
    const auto controlKeys = [&] {
        for (auto [k, mods, text] :
             std::initializer_list<std::tuple<Qt::Key, Qt::KeyboardModifiers, const char*>>{
                 {Qt::Key_Return, Qt::NoModifier, "\r"},
                 {Qt::Key_Escape, Qt::NoModifier, "\x1b"},
                 {Qt::Key_Backspace, Qt::ControlModifier, ""},
                 {Qt::Key_Home, Qt::NoModifier, ""},
                 {Qt::Key_Delete, Qt::NoModifier, "\x7f"},
                 {Qt::Key_C, Qt::ControlModifier, "c"},
                 {Qt::Key_X, Qt::ControlModifier, "x"},
                 {Qt::Key_Z, Qt::ControlModifier, "z"},
                 {Qt::Key_End, Qt::NoModifier, ""},
                 {Qt::Key_V, Qt::ControlModifier, "v"},
                 {Qt::Key_Insert, Qt::ShiftModifier, ""}}) {
            if (inBox()) {
                key(k, mods, QString::fromLatin1(text));
            }
        }
    };
    const auto abuse = [&](const Control& target, const QString& text) {
        widget(target)->setFocus();
        keys(text);
        controlKeys();
    };
    const auto onlyHex = [](const QString& text) {
        return std::all_of(text.begin(), text.end(),
                           [](QChar c) { return c.isDigit() || QStringLiteral("abcdefABCDEF").contains(c); });
    };
    // Hexadecimal first: the step boxes keep what they hold when the format changes.
    for (bool hex : {true, false}) {
        click(hex ? p->opt_HexA : p->opt_Ascii);
        // What is pasted passes no character filter; what is typed does.
        QApplication::clipboard()->setText(QStringLiteral("12.3a \u20AC"));
        for (Control* c : p->controls()) {
            if ((c->kind() == Kind::TextBox && !static_cast<TextBox*>(c)->readOnly()) ||
                c->kind() == Kind::ComboBox) {
                abuse(*c, sample);
            }
        }
        abuse(box(0), burst);
        QApplication::clipboard()->setText(longPaste);
        abuse(p->txt_Data_Input, burst);

        for (int i = 0; i < 4; ++i) {
            EXPECT_TRUE(std::all_of(box(i).text().begin(), box(i).text().end(), [](QChar c) {
                return c.isDigit();
            })) << box(i).text().toStdString();
            if (p->focused() != &box(i)) {
                EXPECT_LE(AddressEditor::value(box(i)), i == 0 ? 223 : 255) << "a box left was tested";
            }
        }
        if (hex) {
            EXPECT_TRUE(onlyHex(p->txt_Data_Input.text()));
            EXPECT_FALSE(p->txt_Data_Input.text().isEmpty());
            for (int i = 0; i < 4; ++i) {
                EXPECT_TRUE(onlyHex(p->txtStep(i).text())) << i;
            }
        } else {
            // ASCII admits every typed character of the code page and none outside it, and pastes.
            EXPECT_FALSE(p->txt_Data_Input.text().contains(u'\u4E2D'));
            EXPECT_TRUE(p->txt_Data_Input.text().contains(u'\u20AC'));
            EXPECT_TRUE(p->txt_Data_Input.text().contains(longPaste)) << "a long paste arrives whole";
            EXPECT_EQ(p->Label9.caption(), QString::number(p->txt_Data_Input.text().size()));
        }
        expectShownAndSaved();
    }
}

// ---- message boxes with the real dialogs ----

struct RealDialogs : Window {
    qt::QtDialogs dialogs{mixed.gate};
    int boxesShown = 0;
    QTimer poll;
    QTimer giveUp;
    std::function<void(QMessageBox&)> onBox;
    void SetUp() override {
        open(nullptr, &dialogs);
        dialogs.setParent(&*view);
        poll.setInterval(5);
        QObject::connect(&poll, &QTimer::timeout, [this] {
            for (QWidget* top : QApplication::topLevelWidgets()) {
                if (auto* box = qobject_cast<QMessageBox*>(top); box != nullptr && box->isVisible()) {
                    poll.stop();
                    ++boxesShown;
                    onBox(*box);
                    return;
                }
            }
        });
        // A message box that nobody expected is closed, so that the test fails instead of hanging.
        giveUp.setSingleShot(true);
        giveUp.setInterval(3000);
        QObject::connect(&giveUp, &QTimer::timeout, [] {
            for (QWidget* top : QApplication::topLevelWidgets()) {
                if (qobject_cast<QMessageBox*>(top) != nullptr && top->isVisible()) {
                    top->close();
                }
            }
            QCoreApplication::exit(1);
        });
        giveUp.start();
    }
    // Calls `then` with the message box as soon as one shows, from within its loop.
    void whenBoxShows(std::function<void(QMessageBox&)> then) {
        onBox = std::move(then);
        poll.start();
    }
};

TEST_F(RealDialogs, TheMessageOfALeavingTestIsModalAndTheFocusComesBackToTheEmptiedBox) {
    p->List1.addItem(QStringLiteral("row"));
    click(box(3));
    whenBoxShows([this](QMessageBox& box) {
        EXPECT_EQ(box.text(), QStringLiteral(" Please Check your IP Address Format"));
        EXPECT_EQ(box.windowTitle(), QStringLiteral("IP Address Error"));
        // While it is open the panel takes no click.
        click(p->cmd_Log);
        EXPECT_EQ(p->List1.listCount(), 1);
        QTest::keyClick(&box, Qt::Key_Return);
    });
    type(QStringLiteral("300")); // the third digit's release moves on; leaving box 3 fails its test
    // The window asked to be active again when the box closed; the platform answers in its loop.
    QCoreApplication::processEvents();
    EXPECT_EQ(boxesShown, 1);
    EXPECT_EQ(box(3).text(), QString());
    EXPECT_EQ(p->focused(), &box(3)) << "the focus the message box took was no LostFocus";
    EXPECT_EQ(focus(), widget(box(3)));
    type(QStringLiteral("42"));
    EXPECT_EQ(box(3).text(), QStringLiteral("42"));
    EXPECT_EQ(mixed.settings.values[kAddressKey], QStringLiteral("100.100.100.42."));
}

TEST_F(RealDialogs, ClosingTheWindowWhileAMessageBoxIsOpenEndsTheProgram) {
    bool closedWhileOpen = false;
    click(box(1));
    whenBoxShows([&](QMessageBox&) {
        // What the window manager does when the operator clicks the window's close button.
        QWindowSystemInterface::handleCloseEvent<QWindowSystemInterface::SynchronousDelivery>(
            view->windowHandle());
        closedWhileOpen = true;
    });
    QTimer::singleShot(0, view.operator->(), [this] { type(QStringLiteral("300")); });
    // If the close were ignored, giveUp would end the loop instead, with 1.
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(closedWhileOpen);
    EXPECT_TRUE(mixed.pump.quitRequested());
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(box(1).text(), QStringLiteral("300"))
        << "the handler went no further; the store has the box as typed";
    EXPECT_EQ(mixed.settings.values[kAddressKey], QStringLiteral("100.300.100.1."));
}

} // namespace
} // namespace sim::test
