#include <QApplication>
#include <QFont>
#include <gtest/gtest.h>

#include <csignal>

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Lumivert"));
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
