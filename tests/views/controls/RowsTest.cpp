#include "views/controls/Builders.h"
#include "views/controls/ControlFixture.h"

#include <QPushButton>

#include <memory>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<std::vector<std::string>> names{this, {"a", "b", "c"}};
};

class RowsTest : public testing::Test {
protected:
    RowsTest() {
        holder.reset(rows<std::string>(0, model.names, [this](const std::string& name) {
            auto* button = new QPushButton(QString::fromStdString(name));
            QObject::connect(button, &QPushButton::clicked, button, [this, name] {
                auto names = model.names.get();
                std::erase(names, name);
                model.names = names;
            });
            ++made;
            return button;
        }));
        keepFresh(holder.get(), model);
        holder->show();
    }

    std::vector<std::string> names() {
        refreshed();
        std::vector<std::string> found;
        for (int i = 0; i < holder->layout()->count(); ++i) {
            auto* button = dynamic_cast<QPushButton*>(holder->layout()->itemAt(i)->widget());
            EXPECT_TRUE(button->isVisible());
            found.push_back(button->text().toStdString());
        }
        return found;
    }

    Model model;
    int made = 0;
    std::unique_ptr<QWidget> holder;
};

TEST_F(RowsTest, followTheList) {
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "b", "c"}));
    model.names = {"c", "x", "a"};
    EXPECT_EQ(names(), (std::vector<std::string>{"c", "x", "a"}));
    model.names = {};
    EXPECT_TRUE(names().empty());
}

TEST_F(RowsTest, stayAsLongAsAnEqualRecordDoes) {
    QWidget* b = holder->layout()->itemAt(1)->widget();
    model.names = {"b", "c", "d"};
    refreshed();
    EXPECT_EQ(holder->layout()->itemAt(0)->widget(), b);
    EXPECT_EQ(made, 4);
}

TEST_F(RowsTest, areWalkedThroughAsTheyAreShown) {
    model.names = {"c", "x", "a"};
    EXPECT_EQ(names().size(), 3U);
    std::string walked;
    QWidget* widget = holder->layout()->itemAt(0)->widget();
    for (int i = 0; i < 3; ++i) {
        walked += qobject_cast<QPushButton*>(widget)->text().toStdString();
        do
            widget = widget->nextInFocusChain();
        while (!qobject_cast<QPushButton*>(widget));
    }
    EXPECT_EQ(walked, "cxa");
}

TEST_F(RowsTest, areMadeOnceForEachOfTwoEqualRecords) {
    model.names = {"a", "a"};
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "a"}));
}

TEST_F(RowsTest, outliveAClickThatRemovesThem) {
    QPointer<QPushButton> b = qobject_cast<QPushButton*>(holder->layout()->itemAt(1)->widget());
    bool aliveAfterwards = false;
    QObject::connect(b, &QPushButton::clicked, b, [&] { aliveAfterwards = !b.isNull(); });
    QTest::mouseClick(b, Qt::LeftButton);
    EXPECT_TRUE(aliveAfterwards);
    EXPECT_EQ(names(), (std::vector<std::string>{"a", "c"}));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(b.isNull());
}

} // namespace
} // namespace lumivert
