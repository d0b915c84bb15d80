#pragma once

#include "manager/PrintManager.h"

namespace lumivert {

/// Calls `visit(name, property)` for every published property of the manager, as declared.
template <class Visit>
void forEachProperty(PrintManager& m, Visit&& visit) {
    visit("image", m.image);
    visit("imageURL", m.imageURL);
    visit("showFileImporter", m.showFileImporter);
    visit("availablePrinters", m.availablePrinters);
    visit("selectedPrinterID", m.selectedPrinterID);
    visit("availablePaperSizes", m.availablePaperSizes);
    visit("availablePaperTypes", m.availablePaperTypes);
    visit("selectedPaperSizeID", m.selectedPaperSizeID);
    visit("selectedPaperTypeID", m.selectedPaperTypeID);
    visit("orientation", m.orientation);
    visit("borderless", m.borderless);
    visit("sizingMode", m.sizingMode);
    visit("margins", m.margins);
    visit("imageWidthMM", m.imageWidthMM);
    visit("imageHeightMM", m.imageHeightMM);
    visit("imageSizeCentered", m.imageSizeCentered);
    visit("imageSizeMarginTop", m.imageSizeMarginTop);
    visit("imageSizeMarginLeft", m.imageSizeMarginLeft);
    visit("selectedICCProfileID", m.selectedICCProfileID);
    visit("renderingIntent", m.renderingIntent);
    visit("availableICCProfiles", m.availableICCProfiles);
    visit("scalingMode", m.scalingMode);
    visit("lastPrintError", m.lastPrintError);
    visit("lastCUPSCommand", m.lastCUPSCommand);
    visit("showConfirmPrint", m.showConfirmPrint);
    visit("presets", m.presets);
    visit("showSavePreset", m.showSavePreset);
}

/// Writes down which properties are assigned, in order, and counts the object's notifications.
class AssignmentLog {
public:
    explicit AssignmentLog(PrintManager& manager) {
        forEachProperty(manager, [this](const char* name, auto& property) {
            m_subscriptions.push_back(property.subscribe([this, name] { names.push_back(name); }));
        });
        m_subscriptions.push_back(manager.subscribe([this] { ++notifications; }));
    }
    AssignmentLog(const AssignmentLog&) = delete;
    AssignmentLog& operator=(const AssignmentLog&) = delete;

    std::vector<std::string> names;
    int notifications = 0;

private:
    std::vector<Subscription> m_subscriptions;
};

} // namespace lumivert
