// Needs a Wayland compositor whose pointer and keyboard xdotool moves, under the X server that
// LUMIVERT_SEAT names: see with-a-seat.sh.

#include "platform/qt/QtDispatcher.h"
#include "platform/qt/QtFunctions.h"
#include "views/ContentView.h"
#include "views/ViewFixture.h"
#include "views/controls/BusyPointer.h"

#include <QAbstractButton>
#include <QDialog>
#include <QDrag>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QProcess>
#include <QUrl>
#include <QWindow>

#include <cstdlib>
#include <xcb/xcb.h>

namespace lumivert {
namespace {

const char* seat() {
    return std::getenv("LUMIVERT_SEAT");
}

/// Moves, presses and types as `xdotool ARGUMENTS` does, while the event loop runs.
void byHand(const QString& arguments) {
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", seat());
    tool.setProcessEnvironment(environment);
    tool.start("xdotool", arguments.split(' '));
    EXPECT_TRUE(QTest::qWaitFor([&] { return tool.state() == QProcess::NotRunning; }, 20'000));
    EXPECT_EQ(tool.exitCode(), 0) << arguments.toStdString();
}

/// Puts the pointer there, in device pixels. From beside the compositor's window, since within it
/// the compositor knows of steps only, and of the first of them too late.
void pointAt(int x, int y) {
    byHand(QString("mousemove 1620 20 mousemove %1 %2").arg(x).arg(y));
}

/// What the compositor shows there, pointer included.
std::vector<std::uint8_t> shownIn(const QRect& place) {
    xcb_connection_t* connection = xcb_connect(seat(), nullptr);
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const auto number = [](int n) { return static_cast<std::int16_t>(n); };
    auto* reply = xcb_get_image_reply(
        connection,
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root, number(place.x()),
                      number(place.y()), number(place.width()), number(place.height()), ~0U),
        nullptr);
    std::vector<std::uint8_t> pixels;
    if (reply) {
        const std::uint8_t* first = xcb_get_image_data(reply);
        pixels.assign(first, first + xcb_get_image_data_length(reply));
    }
    std::free(reply);
    xcb_disconnect(connection);
    return pixels;
}

/// Something that a file can be dragged from.
class Source : public QWidget {
public:
    Source(QWidget* parent, const QString& file)
        : QWidget(parent)
        , m_file(file) {
        setGeometry(100, 100, 200, 200);
        show();
    }

protected:
    void mousePressEvent(QMouseEvent*) override {
        auto* mime = new QMimeData;
        mime->setUrls({QUrl::fromLocalFile(m_file)});
        auto* drag = new QDrag(this);
        drag->setMimeData(mime);
        drag->exec(Qt::CopyAction);
    }

private:
    QString m_file;
};

class SeatTest : public ViewTest {
protected:
    SeatTest() {
        window = std::make_unique<ContentView>(*pm, dispatcher, itemProviders, nullptr,
                                               [] { return "CUPS 2.4.2"; });
        window->showFullScreen(); // at the screen's corner, without a frame
        EXPECT_TRUE(QTest::qWaitFor([&] { return window->isActiveWindow(); }));
        // On the preview's plain ground: some compositors miss the first press of all.
        pointAt(ground.x(), ground.y());
        byHand("click 1");
    }

    template <class Dialog>
    Dialog* dialog() {
        return visibleOf<Dialog>(*window);
    }

    const QPoint ground{200, 300};
    QtDispatcher dispatcher;
    std::unique_ptr<ContentView> window;
};

TEST_F(SeatTest, opensItsMenusByKeys) {
    const auto opens = [&](int index) {
        QMenu* menu = window->menuBar()->actions()[index]->menu();
        return QTest::qWaitFor(
            [&] { return menu->isVisible() && menu->windowHandle()->isExposed(); });
    };
    // Down until it has opened: a compositor lets a key open what holds the focus only meanwhile.
    byHand("keydown F10");
    EXPECT_TRUE(opens(0));
    byHand("keyup F10 key Return");
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog<QDialog>() != nullptr; }));
    ASSERT_NE(dialog<QDialog>(), nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog<QDialog>()->isActiveWindow(); }));
    byHand("key Escape");
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->isActiveWindow(); }));
    byHand("keydown alt keydown f");
    EXPECT_TRUE(opens(1));
    byHand("keyup f keyup alt key Escape");
}

TEST_F(SeatTest, asksAndIsAnsweredByKeys) {
    for (const auto& [key, sent] : {std::pair("Escape", false), std::pair("Return", true)}) {
        load({300, 200});
        pm->showConfirmPrint = true;
        QDialog* question = dialog<QDialog>();
        ASSERT_NE(question, nullptr);
        EXPECT_TRUE(QTest::qWaitFor([&] { return question->isActiveWindow(); }));
        byHand(QString("key ") + key);
        EXPECT_TRUE(QTest::qWaitFor([&] { return !pm->showConfirmPrint; }));
        EXPECT_EQ(pm->lastCUPSCommand.get().has_value() || pm->lastPrintError.get().has_value(),
                  sent);
    }
}

TEST_F(SeatTest, hasTheQuestionOffTheScreenBeforeItWaits) {
    load({300, 200});
    pointAt(1590, 990);
    QTest::qWait(500);
    const QRect preview(0, 100, 1200, 800);
    const auto before = shownIn(preview);
    ASSERT_FALSE(before.empty());
    pm->showConfirmPrint = true;
    EXPECT_TRUE(QTest::qWaitFor([&] { return shownIn(preview) != before; }));
    bool isGone = false;
    fakes.processes.willRun = [&](const std::string&) {
        for (int turn = 0; turn < 50 && !isGone; ++turn) {
            QThread::msleep(50); // the event loop does not run
            isGone = shownIn(preview) == before;
        }
    };
    EXPECT_TRUE(QTest::qWaitFor([&] { return dialog<QDialog>()->isActiveWindow(); }));
    byHand("key Return");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !pm->showConfirmPrint; }));
    EXPECT_TRUE(isGone);
}

TEST_F(SeatTest, isWorkedByThePointer) {
    auto* borderless = control<QAbstractButton>(*window, "Borderless");
    const QPoint place = borderless->mapTo(window.get(), QPoint(8, borderless->height() / 2));
    pointAt(place.x(), place.y());
    byHand("click 1");
    EXPECT_TRUE(QTest::qWaitFor([&] { return pm->borderless.get(); }));
}

TEST_F(SeatTest, showsTheBusyPointerWithoutAnEvent) {
    QTest::qWait(500);
    const QRect around(ground - QPoint(32, 32), QSize(64, 64));
    const auto before = shownIn(around);
    ASSERT_FALSE(before.empty());
    {
        const BusyPointer busy;
        std::vector<std::uint8_t> meanwhile;
        for (int turn = 0; turn < 50 && (meanwhile.empty() || meanwhile == before); ++turn) {
            QThread::msleep(50); // the event loop does not run
            meanwhile = shownIn(around);
        }
        EXPECT_NE(meanwhile, before);
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return shownIn(around) == before; }));
}

TEST_F(SeatTest, takesAFileThatIsDroppedOnIt) {
    const QString file = "/photos/one.jpg";
    fakes.images.images[file.toStdString()] =
        std::make_shared<fakes::FakeImage>(PixelSize{300, 200});
    const Source source(window.get(), file);
    pointAt(200, 200);
    byHand("mousedown 1 sleep 0.3 mousemove_relative 10 10 sleep 0.3 mousemove 1500 800 sleep 0.3 "
           "mousemove_relative 5 0 sleep 0.5 mouseup 1");
    const FileUrl dropped = FileUrl::fromPath(file.toStdString());
    EXPECT_TRUE(QTest::qWaitFor([&] { return pm->imageURL.get() == dropped; }));
}

} // namespace
} // namespace lumivert
