#pragma once

#include "app/LumivertApp.h"
#include "app/updates/UpdateDialog.h"
#include "platform/cups/PrintSystemFiles.h"
#include "platform/decoder/DecoderClient.h"
#include "platform/packagekit/PackageKitEngine.h"
#include "platform/qt/QtDispatcher.h"
#include "platform/qt/QtPreferencesStore.h"
#include "platform/qt/QtUpdateClock.h"
#include "platform/screen/DesktopScreenColors.h"

#include <memory>

namespace lumivert {

/// The real services, owned: this machine's files, processes and desktop, and the decoder that lies
/// beside the program. Made after the QApplication, destroyed after the LumivertApp.
class SystemServices {
public:
    SystemServices();

    [[nodiscard]] AppServices appServices();
    /// Runs the background tasks that still wait: for an exit() that destroys nothing.
    void finishTasks() { m_dispatcher.finish(); }

private:
    // Each goes before those above it.
    PrintSystemFiles m_files;
    QtPreferencesStore m_preferences;
    std::unique_ptr<ScreenColors> m_screens = desktopScreenColors();
    UpdateDialog m_updateDialog;
    QtUpdateClock m_updateClock;
    std::unique_ptr<UpdateEngine> m_updateEngine = packageKitEngine("lumivert");
    // Its background tasks use the others; the decoder uses it.
    QtDispatcher m_dispatcher;
    DecoderClient m_decoder;
};

} // namespace lumivert
