#include <QCoreApplication>
#include <gtest/gtest.h>

// D-Bus answers through an event loop.
int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
