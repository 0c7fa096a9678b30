// The window with the real handlers wired as the program wires them, driven through its widgets with
// the keys and clicks an operator makes. Nothing dials out: the network is the simulated one.

#include "app/profile.h"
#include "mixed_platform.h"
#include "support/panel_state.h"
#include "view/panel_view.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QRadioButton>
#include <QScreen>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <qpa/qwindowsysteminterface.h>

#include <gtest/gtest.h>

#include <optional>

namespace sim::test {
namespace {

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
    void open(Dialogs* dialogs = nullptr) {
        view.reset();
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
    // The control that holds the model's focus, marked "?" unless its widget holds Qt's focus too.
    QString focused() {
        const Control* c = p->focused();
        return c == nullptr ? QStringLiteral("none") : c->name() + (focus() == widget(*c) ? "" : "?");
    }

    // A key pressed and released where the focus is when it goes down.
    void key(Qt::Key k, Qt::KeyboardModifiers mods = Qt::NoModifier, const QString& text = {}) {
        QTest::sendKeyEvent(QTest::Click, focus(), k, text, mods);
    }
    void type(const QString& text) {
        for (QChar c : text) {
            if (c.unicode() < 128) {
                QTest::keyClick(focus(), c.toLatin1());
            } else {
                key(Qt::Key_unknown, Qt::NoModifier, QString(c));
            }
        }
    }
    void click(const Control& c) { QTest::mouseClick(widget(c), Qt::LeftButton); }
    QStringList boxes() { return {box(0).text(), box(1).text(), box(2).text(), box(3).text()}; }
};

TEST_F(Window, OpensCentredAndShowsEveryControlWhereAndAsTheModelHasIt) {
    EXPECT_EQ(view->windowTitle(), QStringLiteral("Tarnix Simulator Ver3.5.1 (2011/06/08)"));
    EXPECT_EQ(view->size(), QSize(731, 724));
    EXPECT_EQ(view->pos(), view::PanelView::centredOn(view->screen()->availableGeometry(), view->size()));
    EXPECT_EQ(view::PanelView::centredOn(QRect(1920, 0, 1280, 1024), QSize(731, 724)), QPoint(2194, 150));
    // A screen too small for the window keeps its title bar in reach.
    EXPECT_EQ(view::PanelView::centredOn(QRect(0, 30, 800, 600), QSize(731, 724)), QPoint(34, 30));

    // Every control but the timers, sockets and the dialog has a widget, at its place in its holder.
    EXPECT_EQ(
        std::ranges::count_if(p->controls(), [this](const Control* c) { return widget(*c) != nullptr; }), 84);
    const std::pair<const Control*, QRect> places[] = {
        {&p->fraBack, QRect(2, -6, 727, 363)},    {&p->List1, QRect(3, 366, 724, 308)},
        {&box(0), QRect(156, 15, 31, 19)},        {&p->com_Count, QRect(142, 36, 89, 23)},
        {&p->opt_HexA, QRect(4, 30, 55, 17)},     {&p->chkMode, QRect(20, 126, 119, 13)},
        {&p->Cmd_Start, QRect(208, 48, 103, 25)}, {&p->Label9, QRect(558, 9, 7, 15)},
    };
    for (const auto& [control, rect] : places) {
        EXPECT_EQ(widget(*control)->geometry(), rect) << control->name().toStdString();
    }

    EXPECT_EQ(qobject_cast<QAbstractButton*>(widget(p->Cmd_Start))->text(), QStringLiteral("Connect"));
    EXPECT_EQ(widget(p->Frame1)->accessibleName(), QStringLiteral(" [ Tarnix ] "));
    EXPECT_EQ(qobject_cast<QLabel*>(widget(p->Label3))->text(), QStringLiteral("Destination IP"));
    EXPECT_TRUE(widget(p->Frame8)->font().bold());
    EXPECT_FALSE(widget(p->txt_Data_Input)->font().bold()) << "a box in a bold frame keeps its regular font";
    EXPECT_EQ(widget(p->txt_Data_Input)->font().pixelSize(), 12);
    EXPECT_EQ(widget(p->List1)->font().pixelSize(), 13);
    EXPECT_EQ(widget(p->txt_Port)->palette().color(QPalette::Base), QColor(0xC0, 0xC0, 0xC0));
    // The system button face is a colour of its own, not the fixed grey.
    EXPECT_EQ(widget(p->com_Count)->palette().color(QPalette::Base),
              QApplication::palette().color(QPalette::Button));
    EXPECT_FALSE(widget(p->Cmd_Send)->isEnabled());
    p->Cmd_Send.setEnabled(true);
    EXPECT_TRUE(widget(p->Cmd_Send)->isEnabled());
    // A control in a disabled frame is shown disabled while it keeps its own Enabled.
    EXPECT_FALSE(widget(p->cmdSendStart)->isEnabled());
    p->Frame10.setEnabled(true);
    EXPECT_TRUE(widget(p->cmdSendStart)->isEnabled());

    // The focus starts in the first box, all of it selected, and the model knows it.
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_IP(0)"));
    EXPECT_EQ(edit(box(0))->selectedText(), QStringLiteral("100"));

    // An option clicked twice stays the one selected; a burst of rows reaches the list in one batch.
    click(p->opt_File);
    click(p->opt_File);
    EXPECT_TRUE(qobject_cast<QRadioButton*>(widget(p->opt_File))->isChecked()) << "a second click keeps it";
    EXPECT_FALSE(qobject_cast<QRadioButton*>(widget(p->opt_List))->isChecked());

    for (int i = 0; i < 5000; ++i) {
        p->List1.addItem(QStringLiteral("row %1").arg(i));
    }
    p->List1.setListIndex(4999);
    auto* list = qobject_cast<QListView*>(widget(p->List1));
    EXPECT_EQ(list->model()->rowCount(), 0) << "rows wait for their batch";
    view->flushRows();
    EXPECT_EQ(list->model()->rowCount(), 5000);
    EXPECT_EQ(list->currentIndex().row(), 4999);

    // A TLS link is marked in the caption, of the open window and of one opened after the profile.
    QString error;
    const auto tls =
        Profile::parse(QStringLiteral("tls=true\ntls.verify=false"), QStringLiteral("t.ini"), &error);
    ASSERT_TRUE(tls && !tls->applyTo(*form));
    EXPECT_EQ(view->windowTitle(), QStringLiteral("Tarnix Simulator Ver3.5.1 (2011/06/08) [TLS]"));
    view.emplace(*p, form->op());
    EXPECT_EQ(view->windowTitle(), QStringLiteral("Tarnix Simulator Ver3.5.1 (2011/06/08) [TLS]"));
}

// The icon, 32 by 32 and 16 by 16 (and 48 by 48 for larger screens), each drawn for its size: away from
// the rounded corners every pixel is wholly the tile or wholly a bar, none a blend of a larger drawing.
TEST_F(Window, ShowsCrispIconsOfSixteenThirtyTwoAndFortyEightPixels) {
    const QIcon icon = view->windowIcon();
    for (int size : {16, 32, 48}) {
        SCOPED_TRACE(size);
        const QImage image =
            icon.pixmap(QSize(size, size), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
        const auto inCorner = [size](int at) { return at < size / 4 || at >= size - size / 4; };
        int white = 0;
        for (int i = 0; i < size * size; ++i) {
            const QRgb px = image.pixel(i % size, i / size);
            if (!inCorner(i % size) || !inCorner(i / size)) {
                EXPECT_TRUE(px == qRgb(255, 255, 255) || px == qRgb(0, 0, 128))
                    << i % size << "," << i / size;
                white += px == qRgb(255, 255, 255) ? 1 : 0;
            }
        }
        EXPECT_GT(white, size * size / 8) << "both bars are there";
    }
}

// Tab follows the tab positions, a full box passes the focus on at each release, a letter is refused,
// every click out of the last box in range lands on the port box and a button's click still lands, and
// Backspace first takes the selection and in boxes worth 0 walks back two boxes in one press.
TEST_F(Window, TheAddressBoxesFollowTheOperatorsTabsDigitsClicksAndBackspaces) {
    key(Qt::Key_Tab);
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_Port"));
    // Shift+Tab back into box 0, which holds three characters: the Tab's release moves on to box 1,
    // and the Shift key's, coming up after it, on to box 2.
    key(Qt::Key_Backtab, Qt::ShiftModifier);
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_IP(2)"));

    click(p->txt_Data_Input);
    click(box(0));
    EXPECT_EQ(edit(box(0))->selectedText(), QStringLiteral("100")) << "the click keeps the entry's selection";
    type(QStringLiteral("1a92168")); // three digits move on at the release
    type(QStringLiteral("0.5"));
    EXPECT_EQ(boxes(), (QStringList{"192", "168", "0", "5"}));
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_IP(3)"));
    click(box(1));
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_Port"));
    p->List1.addItem(QStringLiteral("row"));
    click(box(3));
    click(p->cmd_Log);
    EXPECT_EQ(p->List1.listCount(), 0) << "the click still lands";
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_Port"));

    // The handler removes the selected 2 of 127 before the key applies: the key then takes the 1 before it.
    pointAtLoopback(*p, 4000);
    click(box(0));
    form->op().select(box(0), 1, 1);
    key(Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    EXPECT_EQ(box(0).text(), QStringLiteral("7"));
    click(box(2));
    key(Qt::Key_End); // a key like any other: its release at length 1 moves nothing
    key(Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    EXPECT_EQ(boxes(), (QStringList{"7", "0", "", "1"}));
    EXPECT_EQ(focused(), QStringLiteral("txt_Destination_IP(0)"));
    EXPECT_EQ(edit(box(0))->selectedText(), QStringLiteral("7"));

    // Tab onto a button moves the model's focus there too.
    widget(p->opt_Ascii)->setFocus();
    key(Qt::Key_Tab);
    EXPECT_EQ(focused(), QStringLiteral("opt_HexA"));
}

void pasteFromMenu(QWidget* target) {
    QContextMenuEvent menuEvent(QContextMenuEvent::Mouse, QPoint(2, 2), target->mapToGlobal(QPoint(2, 2)));
    QApplication::sendEvent(target, &menuEvent);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (QAction* action : menu->actions()) {
        if (action->text().startsWith(QStringLiteral("&Paste"))) {
            action->trigger();
        }
    }
    menu->close();
}

// Ctrl+V, Shift+Insert, a drop and the middle button, into the box with the focus.
void pasteEveryOtherWay(QWidget* target, const QString& dropped) {
    QTest::keyClick(target, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(target, Qt::Key_Insert, Qt::ShiftModifier);
    QMimeData data;
    data.setText(dropped);
    QDragEnterEvent enter(QPoint(2, 2), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QDropEvent drop(QPointF(2, 2), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &drop);
    if (QApplication::clipboard()->supportsSelection()) {
        QTest::mouseClick(target, Qt::MiddleButton);
    }
}

// Pastes by key or drop are allowed where Ctrl+V is, the menu's Paste always, and a long text arrives whole
// and edits past sixteen bits work.
TEST_F(Window, PastesAreAllowedWhereCtrlVIsTheMenusAlwaysAndALongTextArrivesWhole) {
    QApplication::clipboard()->setText(QStringLiteral("1.5x"));
    pointAtLoopback(*p, 4000);
    click(box(1));
    pasteEveryOtherWay(widget(box(1)), QStringLiteral("abc"));
    EXPECT_EQ(box(1).text(), QStringLiteral("0"))
        << "the address boxes refuse Ctrl+V and every paste like it";
    // The context menu's Paste is the operator's deliberate choice: it is not filtered, and the
    // leaving test reads the number the text begins with (1.5 passes).
    click(box(2));
    pasteFromMenu(widget(box(2)));
    EXPECT_EQ(box(2).text(), QStringLiteral("1.5x"));
    click(p->txt_Data_Input);

    // In ASCII the data box takes Ctrl+V, so it takes the other pastes too, and every character of the
    // code page typed but none outside it; in hex it refuses them all.
    pasteEveryOtherWay(edit(p->txt_Data_Input), QStringLiteral("Z"));
    type(QStringLiteral("\u00E9\u4E2D\u20AC"));
    EXPECT_EQ(p->txt_Data_Input.text(), QStringLiteral("Z\u00E9\u20AC1.5x1.5x"))
        << "the drop went to the front";
    click(p->opt_HexA);
    click(p->txt_Data_Input);
    pasteEveryOtherWay(edit(p->txt_Data_Input), QStringLiteral("41"));
    EXPECT_EQ(p->txt_Data_Input.text(), QString());

    // 40,001 hexadecimal digits, pasted from the menu: nothing cuts them.
    QApplication::clipboard()->setText(QString(40001, u'7'));
    pasteFromMenu(edit(p->txt_Data_Input));
    EXPECT_EQ(p->txt_Data_Input.text().size(), 40001);
    EXPECT_EQ(p->Label9.caption(), QStringLiteral("20000"));
    key(Qt::Key_End);
    key(Qt::Key_Backspace, Qt::NoModifier, QStringLiteral("\b"));
    key(Qt::Key_Left);
    type(QStringLiteral("A"));
    key(Qt::Key_Backspace, Qt::ControlModifier); // a word's deletion is no hexadecimal key
    EXPECT_EQ(p->txt_Data_Input.text().right(2), QStringLiteral("A7"));
    EXPECT_EQ(p->txt_Data_Input.selStart(), 40000);
    EXPECT_TRUE(mixed.dialogs.shown.empty()) << "no Overflow, and 1.5 passed the leaving test";
    // The combo boxes' edit fields take a long text whole too.
    QApplication::clipboard()->setText(QString(40000, u'9'));
    click(p->opt_Send_Only);
    qobject_cast<QComboBox*>(widget(p->com_Timegap))->lineEdit()->setFocus();
    key(Qt::Key_A, Qt::ControlModifier, QStringLiteral("a"));
    key(Qt::Key_V, Qt::ControlModifier, QStringLiteral("v"));
    EXPECT_EQ(p->com_Timegap.text().size(), 40000);
}

TEST_F(Window, ClosingTheWindowWhileListeningUnwindsTheLoopAndEndsTheProgram) {
    click(p->opt_Client);
    p->txt_Port.setText(QStringLiteral("5000"));
    QTimer::singleShot(0, &*view, [this] { click(p->Cmd_Start); }); // Listen, whose loop pumps until Close
    QTimer::singleShot(100, &*view, [this] { view->close(); });
    // Were the close ignored, the listening would be ended after three seconds and the loop with 1.
    QTimer::singleShot(3000, &*view, [this] {
        click(p->cmd_End);
        QCoreApplication::exit(1);
    });
    EXPECT_EQ(QApplication::exec(), 0);
    ASSERT_EQ(p->List1.listCount(), 1) << "the listening loop was unwound: it never said Server Closed";
    EXPECT_TRUE(p->List1.rows()[0].endsWith(QStringLiteral("] : Listen..")));
    EXPECT_EQ(p->Server_Socket.state(), socket_state::kClosed);
}

struct RealDialogs : Window {
    qt::QtDialogs dialogs{mixed.gate};
    QTimer poll;
    void SetUp() override {
        open(&dialogs);
        dialogs.setParent(&*view);
        // A message box still open after three seconds is closed, so that the test fails instead of hanging.
        QTimer::singleShot(3000, &*view, [] {
            for (QWidget* top : QApplication::topLevelWidgets()) {
                if (qobject_cast<QMessageBox*>(top) != nullptr && top->isVisible()) {
                    top->close();
                }
            }
            QCoreApplication::exit(1);
        });
    }
    // Calls `then` with the message box as soon as one shows, from within its loop.
    void whenBoxShows(std::function<void(QMessageBox&)> then) {
        QObject::connect(&poll, &QTimer::timeout, [this, then] {
            for (QWidget* top : QApplication::topLevelWidgets()) {
                if (auto* box = qobject_cast<QMessageBox*>(top); box != nullptr && box->isVisible()) {
                    poll.stop();
                    then(*box);
                    return;
                }
            }
        });
        poll.start(5);
    }
};

// While the message box of a leaving test is open the form takes no click, no socket event and no tick.
// Once it closes the event comes, the ticks of the 400 ms come as one at once, the timer counts its next
// interval from there, and the focus is back in the emptied box.
TEST_F(RealDialogs, TheMessageOfALeavingTestHoldsTheFormUntilItClosesAndTheFocusComesBack) {
    QTcpServer device;
    ASSERT_TRUE(device.listen(QHostAddress::LocalHost, 0));
    auto socket = mixed.network.createSocket(QStringLiteral("Client_Socket"));
    socket->setRemoteHost(QStringLiteral("127.0.0.1"));
    socket->setRemotePort(device.serverPort());
    socket->connect();
    ASSERT_TRUE(pumpUntil(mixed.pump, [&] {
        return socket->state() == socket_state::kConnected && device.hasPendingConnections();
    }));
    QTcpSocket* peer = device.nextPendingConnection();
    QElapsedTimer clock;
    std::vector<qint64> arrivals;
    std::vector<qint64> ticks;
    socket->events.dataArrival = [&](std::int32_t) {
        Bytes b;
        socket->getData(b);
        arrivals.push_back(clock.elapsed());
    };
    auto timer = mixed.timers.createTimer([&] { ticks.push_back(clock.elapsed()); });
    p->List1.addItem(QStringLiteral("row"));
    click(box(3));
    whenBoxShows([&](QMessageBox& box) {
        EXPECT_EQ(box.text(), QStringLiteral(" Please Check your IP Address Format"));
        EXPECT_EQ(box.windowTitle(), QStringLiteral("IP Address Error"));
        click(p->cmd_Log);
        EXPECT_EQ(p->List1.listCount(), 1);
        clock.start();
        timer->start(70);
        peer->write("late");
        QTimer::singleShot(400, &box, [&box] { QTest::keyClick(&box, Qt::Key_Return); });
    });
    type(QStringLiteral("300")); // the third digit's release moves on; leaving box 3 fails its test
    const qint64 closedAt = clock.elapsed();
    EXPECT_TRUE(arrivals.empty());
    EXPECT_TRUE(ticks.empty());
    ASSERT_TRUE(pumpUntil(mixed.pump, [&] { return !arrivals.empty() && ticks.size() >= 2; }));
    timer->stop();
    EXPECT_LT(ticks.front() - closedAt, 25);
    EXPECT_GE(ticks.at(1) - ticks.front(), 65) << "not the phase it had, which would tick at 420";
    ASSERT_EQ(focused(), QStringLiteral("txt_Destination_IP(3)"))
        << "the message box took it with no LostFocus";
    type(QStringLiteral("42"));
    EXPECT_EQ(box(3).text(), QStringLiteral("42"));
}

TEST_F(RealDialogs, ClosingTheWindowWhileAMessageBoxIsOpenEndsTheProgram) {
    click(box(1));
    whenBoxShows([&](QMessageBox&) {
        // What the window manager does when the operator clicks the window's close button.
        QWindowSystemInterface::handleCloseEvent<QWindowSystemInterface::SynchronousDelivery>(
            view->windowHandle());
    });
    QTimer::singleShot(0, &*view, [this] { type(QStringLiteral("300")); });
    // Were the close ignored, the loop would be ended after three seconds with 1.
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_TRUE(mixed.pump.quitRequested());
    EXPECT_FALSE(view->isVisible());
    EXPECT_EQ(box(1).text(), QStringLiteral("300")) << "the handler went no further";
}

// A profile gives the panel an operator gets by making the same settings in the window: for each line a
// click on the option or check box set true, or the text typed over the box's text.
TEST_F(Window, AProfileAndTheSameSettingsMadeByAnOperatorGiveTheSamePanel) {
    const std::vector<QStringList> cases = {
        // The device is the server: a repeat run of a hexadecimal payload, logged to a file too.
        {"txt_Destination_IP(0)=127", "txt_Destination_IP(1)=0", "txt_Destination_IP(2)=0",
         "txt_Destination_IP(3)=1", "txt_Destination_Port=4001", "opt_HexA=true", "opt_Send_Only=true",
         "opt_Repeat=true", "com_Timegap=0.5", "com_Count=20", "txt_Data_Input=0A0b", "Opt_List_File=true",
         "txt_Logfile=run.log"},
        // A program of two steps, with the connection closed after each exchange.
        {"opt_Send_Only=true", "chkMode=true", "txtStep(0)=one", "txtTimeGap(0)=200", "txtStep(1)=two",
         "Opt_Cnn2=true"},
    };
    for (const QStringList& lines : cases) {
        SCOPED_TRACE(lines.join(u' ').toStdString());
        open();
        FrmSimulator byProfile(platform(mixed.dialogs)); // from the same saved settings as the window's
        byProfile.load();
        for (const QString& setting : lines) {
            const auto named = std::ranges::find(p->controls(), setting.section(u'=', 0, 0), &Control::name);
            ASSERT_NE(named, p->controls().end()) << setting.toStdString();
            Control* control = *named;
            const QString text = setting.section(u'=', 1);
            if (text == QStringLiteral("true")) {
                click(*control);
                continue;
            }
            // Everything selected with keys that make no character, so that no filter stands in the way.
            auto* combo = qobject_cast<QComboBox*>(widget(*control));
            QWidget* field = combo != nullptr ? combo->lineEdit() : widget(*control);
            QTest::mouseClick(field, Qt::LeftButton);
            QTest::keyClick(field, Qt::Key_End);
            QTest::keyClick(field, Qt::Key_Home, Qt::ShiftModifier);
            QTest::keyClicks(field, text);
        }
        QString error;
        const auto profile = Profile::parse(lines.join(u'\n'), QStringLiteral("run.ini"), &error);
        ASSERT_TRUE(profile) << error.toStdString();
        ASSERT_EQ(profile->applyTo(byProfile.panel()), std::nullopt);
        EXPECT_EQ(panelState(byProfile.panel()), panelState(*p));
        EXPECT_EQ(Profile::print(byProfile.panel()), Profile::print(*p));
    }
}

} // namespace
} // namespace sim::test
