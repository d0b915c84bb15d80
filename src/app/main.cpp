#include "app/LumivertApp.h"
#include "app/SystemServices.h"

#include <QApplication>

#include <csignal>

int main(int argc, char** argv) {
    // A decoder that dies while it is written to is an image that does not decode.
    std::signal(SIGPIPE, SIG_IGN);

    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Lumivert"));
    QApplication::setApplicationVersion(QStringLiteral(LUMIVERT_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("lumivert"));

    lumivert::SystemServices services;
    lumivert::LumivertApp app(services.appServices());
    app.openWindow();
    return QApplication::exec();
}
