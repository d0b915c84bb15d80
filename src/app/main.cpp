#include "app/DesktopApplication.h"
#include "app/Language.h"
#include "app/LumivertApp.h"
#include "app/SystemServices.h"
#include "platform/system/Descriptor.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QThreadPool>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

// A file opened later must not become standard output, which takes a line at each print.
void openStandardDescriptors() {
    int descriptor = 0;
    do
        descriptor = ::open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO)
        ::close(descriptor);
}

// While the toolkit starts: it would advise to install it anew, and abort.
void sayWhyThereIsNoWindow(QtMsgType type, const QMessageLogContext& context,
                           const QString& message) {
    if (type == QtFatalMsg) {
        std::fputs("lumivert: there is no display to open a window on\n", stderr);
        ::_exit(EXIT_FAILURE);
    }
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, message)));
}

} // namespace

int main(int /*argc*/, char** argv) {
    openStandardDescriptors();
    // A decoder that dies while it is written to is an image that does not decode, and a page that
    // outgrows a limit is one that could not be created.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);

    // Waited for below: pages that are to be deleted go with the services.
    const int endSignal = lumivert::endInOrderOnSignals();

    const lumivert::Language language;
    int words = 1; // no command line: the toolkit's own would be one
    qInstallMessageHandler(sayWhyThereIsNoWindow);
    QApplication application(words, argv);
    qInstallMessageHandler(nullptr);
    language.keepForTexts();
    QApplication::setApplicationDisplayName(QStringLiteral("Lumivert"));
    QApplication::setApplicationVersion(QStringLiteral(LUMIVERT_VERSION));
    QApplication::setDesktopFileName(QLatin1String(lumivert::DesktopApplication::id));

    lumivert::DesktopApplication desktop(QDBusConnection::sessionBus());
    if (!desktop.isFirst())
        return 0;

    lumivert::SystemServices services;
    // The toolkit exits from within where the display goes, with pages that wait for deletion.
    static lumivert::SystemServices* unfinished = &services;
    std::atexit([] {
        if (unfinished)
            unfinished->finishTasks();
    });
    lumivert::LumivertApp app(services.appServices());
    app.openWindow();
    desktop.serve(app);
    QSocketNotifier endNotifier(endSignal, QSocketNotifier::Read);
    QObject::connect(&endNotifier, &QSocketNotifier::activated, &application,
                     [] { QCoreApplication::exit(); });
    const int status = QApplication::exec();
    // A drop that is still being read hands its file to the dispatcher, which goes with `services`.
    QThreadPool::globalInstance()->waitForDone();
    unfinished = nullptr;
    return status;
}
