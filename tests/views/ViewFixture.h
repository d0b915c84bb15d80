#pragma once

#include "fakes/FakeImage.h"
#include "fakes/FakePlatform.h"
#include "manager/PrintManager.h"
#include "views/controls/ControlFixture.h"
#include "views/controls/Refresh.h"

#include <memory>
#include <string>

namespace lumivert {

/// A print manager in a world of fakes, with one queue of two paper sizes.
class ViewTest : public testing::Test {
protected:
    ViewTest() {
        fakes.addQueue("Photo_Printer_A3",
                       "PageSize/Media Size: *A4 A4.Fullbleed A3\n"
                       "MediaType/Media Type: *Plain Glossy\n",
                       "*PaperDimension A4: \"595.275590 841.889763\"\n"
                       "*PaperDimension A3: \"841.889763 1190.551181\"\n");
        pm = std::make_unique<PrintManager>(fakes.platform);
    }

    /// Makes a photo of that shape the current one.
    void load(PixelSize size, const std::string& path = "/photos/one.jpg") {
        fakes.images.images[path] = std::make_shared<fakes::FakeImage>(size);
        pm->loadImage(FileUrl::fromPath(path));
    }

    /// The window's dialog of that kind that is on the screen.
    template <class Dialog>
    static Dialog* visibleOf(const QWidget& window) {
        for (Dialog* found : window.findChildren<Dialog*>())
            if (found->isVisible())
                return found;
        return nullptr;
    }

    fakes::FakePlatform fakes;
    std::unique_ptr<PrintManager> pm;
};

} // namespace lumivert
