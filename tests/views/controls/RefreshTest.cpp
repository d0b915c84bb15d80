#include "views/controls/Refresh.h"

#include "views/controls/ControlFixture.h"

#include <QLabel>
#include <QVBoxLayout>

#include <memory>

namespace lumivert {
namespace {

struct Model : ObservableObject {
    Published<bool> open{this, false};
    Published<int> number{this, 1};
};

struct Tree {
    Model model;
    QWidget root;
    QWidget* drawer = new QWidget(&root);
    QLabel* label = new QLabel(drawer);
    int refreshes = 0;

    Tree() {
        visibleWhen([this] { return model.open.get(); }, drawer);
        whenRefreshed(label, [this] {
            ++refreshes;
            label->setText(QString::number(model.number));
        });
    }
};

TEST(Refresh, doesNothingBeforeTheTreeIsKeptFresh) {
    Tree tree;
    tree.model.open = true;
    refreshed();
    EXPECT_EQ(tree.refreshes, 0);
}

TEST(Refresh, leavesWhatIsHiddenAlone) {
    Tree tree;
    keepFresh(&tree.root, tree.model);
    tree.model.number = 2;
    refreshed();
    EXPECT_TRUE(tree.drawer->isHidden());
    EXPECT_EQ(tree.refreshes, 0);
}

TEST(Refresh, bringsUpToDateWhatItShows) {
    Tree tree;
    keepFresh(&tree.root, tree.model);
    tree.model.number = 2;
    refreshed();
    tree.model.open = true;
    refreshed();
    EXPECT_FALSE(tree.drawer->isHidden());
    EXPECT_EQ(tree.label->text().toStdString(), "2");
    EXPECT_EQ(tree.refreshes, 1);
    tree.model.number = 3;
    refreshed();
    EXPECT_EQ(tree.label->text().toStdString(), "3");
    tree.model.open = false;
    refreshed();
    EXPECT_TRUE(tree.drawer->isHidden());
    EXPECT_EQ(tree.refreshes, 2);
}

TEST(Refresh, appliesEveryConditionBeforeAnyRefresh) {
    // The condition stands behind the refresh in the tree.
    Model model;
    QWidget root;
    auto* first = new QLabel(&root);
    bool sawHidden = false;
    auto* second = new QLabel(&root);
    whenRefreshed(first, [&] { sawHidden = second->isHidden(); });
    visibleWhen([&] { return model.open.get(); }, second);
    keepFresh(&root, model);
    EXPECT_TRUE(sawHidden);
}

TEST(Refresh, includesTheRootItself) {
    Model model;
    QLabel root;
    whenRefreshed(&root, [&] { root.setText(QString::number(model.number)); });
    keepFresh(&root, model);
    model.number = 5;
    refreshed();
    EXPECT_EQ(root.text().toStdString(), "5");
}

TEST(Refresh, comesOnceATurnHoweverOftenTheModelTells) {
    Tree tree;
    tree.model.open = true;
    keepFresh(&tree.root, tree.model);
    for (int i = 2; i < 10; ++i)
        tree.model.number = i;
    EXPECT_EQ(tree.refreshes, 1) << "that of keepFresh";
    QApplication::processEvents();
    EXPECT_EQ(tree.refreshes, 2);
    EXPECT_EQ(tree.label->text(), "9");
}

TEST(Refresh, comesBeforeWhatAPersonDoesOnTheSameTurn) {
    Tree tree;
    tree.model.open = true;
    keepFresh(&tree.root, tree.model);
    tree.model.number = 7;
    QTest::keyClick(&tree.root, Qt::Key_A);
    EXPECT_EQ(tree.label->text(), "7");
    QTest::keyClick(&tree.root, Qt::Key_A);
    QApplication::processEvents();
    EXPECT_EQ(tree.refreshes, 2) << "and not again";
}

TEST(Refresh, endsWithTheTree) {
    Model model;
    int refreshes = 0;
    auto root = std::make_unique<QWidget>();
    whenRefreshed(root.get(), [&] { ++refreshes; });
    keepFresh(root.get(), model);
    root.reset();
    model.number = 2;
    refreshed();
    EXPECT_EQ(refreshes, 1);
}

} // namespace
} // namespace lumivert
