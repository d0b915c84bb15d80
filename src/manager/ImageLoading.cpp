#include "manager/PrintManager.h"
#include "platform/Image.h"

namespace lumivert {

void PrintManager::loadImage(const FileUrl& from) {
    const FileUrl url = from; // the caller's may be a property that an observer replaces
    auto decoded = m_platform.decodeImage(url);
    if (!decoded)
        return;
    imageURL = url;
    image = std::move(decoded);
    // The photo's direction now decides the sheet's.
    if (orientation == PaperOrientation::auto_)
        announceChange();
    loadICCProfiles();
}

} // namespace lumivert
