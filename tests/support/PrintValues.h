#pragma once

#include "model/FileUrl.h"
#include "model/Models.h"
#include "model/PrintPreset.h"
#include "platform/Geometry.h"

#include <ostream>

// What a failed expectation shows of the program's values.
namespace lumivert {

template <class Choice>
requires requires {
    ChoiceTable<Choice>::cases;
}
void PrintTo(const Choice& choice, std::ostream* out) {
    *out << '"' << rawValue(choice) << '"';
}
inline void PrintTo(const Margins& m, std::ostream* out) {
    *out << "top " << m.top << " bottom " << m.bottom << " left " << m.left << " right " << m.right;
}
inline void PrintTo(const Printer& p, std::ostream* out) {
    *out << p.id << " \"" << p.name << '"';
}
inline void PrintTo(const PaperSize& p, std::ostream* out) {
    *out << p.id << " \"" << p.name << "\" " << p.widthMM << " x " << p.heightMM << " mm, "
         << p.cupsName << ", borderless " << p.cupsFullbleedName.value_or("(none)");
}
inline void PrintTo(const PaperType& p, std::ostream* out) {
    *out << p.id << " \"" << p.name << "\" " << p.cupsMediaType;
}
inline void PrintTo(const ICCProfile& p, std::ostream* out) {
    *out << p.id << " \"" << p.name << "\" " << p.path.value_or("(no path)")
         << (p.isSystem ? " system" : "");
}
inline void PrintTo(const FileUrl& url, std::ostream* out) {
    *out << url.dataRepresentation();
}
inline void PrintTo(const PrintPreset& preset, std::ostream* out) {
    forEachField(preset, [out](const char* key, const auto& value) {
        *out << "\n  " << key << ": " << value;
    });
}
inline void PrintTo(SizePoints s, std::ostream* out) {
    *out << s.width << " x " << s.height << " pt";
}
inline void PrintTo(RectPoints r, std::ostream* out) {
    *out << r.width << " x " << r.height << " pt at " << r.x << ", " << r.y;
}
inline void PrintTo(PixelSize s, std::ostream* out) {
    *out << s.width << " x " << s.height << " px";
}
inline void PrintTo(PixelRect r, std::ostream* out) {
    *out << r.width << " x " << r.height << " px at " << r.x << ", " << r.y;
}

} // namespace lumivert
