#include <QGuiApplication>
#include <gtest/gtest.h>

#include <csignal>

int main(int argc, char** argv) {
    // As the program does.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    QGuiApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
