#include "app/LumivertApp.h"
#include "app/SystemServices.h"

#include <QApplication>

#include <cstdlib>

// The program, ending when its first window has been painted. The spare decoder is not started: the
// program starts it after that moment.
int main(int argc, char** argv) {
    QApplication application(argc, argv);
    lumivert::SystemServices services;
    lumivert::AppServices app = services.appServices();
    app.firstWindowPainted = [] { std::_Exit(0); };
    lumivert::LumivertApp lumivert(app);
    lumivert.openWindow();
    return QApplication::exec();
}
