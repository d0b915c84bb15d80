#include "platform/pdf/PdfFileContextFactory.h"

#include "platform/pdf/PdfFile.h"
#include "platform/pdf/PdfPageContext.h"

namespace lumivert {

std::unique_ptr<PdfContext> PdfFileContextFactory::create(const std::string& path) {
    auto file = PdfFile::create(path);
    if (!file)
        return nullptr;
    return std::make_unique<PdfPageContext>(std::move(file));
}

} // namespace lumivert
