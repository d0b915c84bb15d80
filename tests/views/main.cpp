#include <QApplication>
#include <QFont>
#include <QPalette>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 9));
    QApplication::setPalette(QPalette(QColor(0xef, 0xef, 0xef)));
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
