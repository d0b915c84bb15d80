#pragma once

#include "model/FileUrl.h"
#include "model/Models.h"
#include "model/PrintPreset.h"
#include "platform/Observable.h"
#include "platform/Platform.h"

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace lumivert {

struct ColorSpace;
class Image;
struct ScreenRendition;
struct SizePoints;
class SoftProof;
enum class ProofState;

/// The whole state of the application and every operation on it: the loaded photo, what discovery
/// found, every print setting, the outcome of the last print, the flags that open dialogs, the
/// presets. One instance, lent to the views; main thread only.
///
/// Every property notifies at every assignment. Nothing but the soft proof reacts to a change:
/// whoever changes `selectedPrinterID` also calls loadPaperSizes and loadMediaTypes (the settings
/// panel does). Selections are stored as `id`s that their lists need not hold; the derived
/// selections below fall back to built-in records. Lengths are in millimetres.
class PrintManager : public ObservableObject {
public:
    /// Gives every property its initial value, loads the presets, then detects the printers, which
    /// blocks while the print system's tools run. `platform` is borrowed.
    explicit PrintManager(const Platform& platform);
    ~PrintManager();

    Published<std::shared_ptr<const Image>> image{this, nullptr};
    Published<std::optional<FileUrl>> imageURL{this, std::nullopt};
    Published<bool> showFileImporter{this, false};
    Published<std::vector<Printer>> availablePrinters{this, {}};
    Published<std::string> selectedPrinterID{this, ""};
    Published<std::vector<PaperSize>> availablePaperSizes{this, {}};
    Published<std::vector<PaperType>> availablePaperTypes{this, {automaticPaperType()}};
    Published<std::string> selectedPaperSizeID{this, "A4"};
    Published<std::string> selectedPaperTypeID{this, "auto"};
    Published<PaperOrientation> orientation{this, PaperOrientation::auto_};
    Published<bool> borderless{this, false};
    Published<SizingMode> sizingMode{this, SizingMode::margins};
    Published<Margins> margins{this, {.top = 5, .bottom = 5, .left = 5, .right = 5}};
    Published<double> imageWidthMM{this, 190};
    Published<double> imageHeightMM{this, 277};
    Published<bool> imageSizeCentered{this, true};
    Published<double> imageSizeMarginTop{this, 0};
    Published<double> imageSizeMarginLeft{this, 0};
    Published<std::string> selectedICCProfileID{this, "printer_managed"};
    Published<RenderingIntent> renderingIntent{this, RenderingIntent::perceptual};
    Published<std::vector<ICCProfile>> availableICCProfiles{this, {printerManagedProfile()}};
    Published<ScalingMode> scalingMode{this, ScalingMode::fitToPage};
    Published<std::optional<std::string>> lastPrintError{this, std::nullopt};
    Published<std::optional<std::string>> lastCUPSCommand{this, std::nullopt};
    Published<bool> showConfirmPrint{this, false};
    Published<std::vector<PrintPreset>> presets{this, {}};
    Published<bool> showSavePreset{this, false};

    // Derived selections: the first list entry of the stored `id`, else the built-in record (for
    // the printer: nothing). Looked up on each read.
    [[nodiscard]] std::optional<Printer> selectedPrinter() const;
    [[nodiscard]] PaperSize selectedPaperSize() const;
    /// Whether the queue's PPD gives the selected size no measure, so that it measures as A4.
    [[nodiscard]] bool selectedPaperSizeIsUnmeasured() const;
    [[nodiscard]] PaperType selectedPaperType() const;
    [[nodiscard]] ICCProfile selectedICCProfile() const;

    // Discovery. Each replaces its list whole and blocks while the print system's tools run. No
    // failure is reported: the lists fall back to their built-in records.

    /// Asks CUPS for its queues and its default, settles `selectedPrinterID`, then loads that
    /// printer's sizes and media types.
    void detectPrinters();
    /// Fills `availablePaperSizes` from the queue's option listing and PPD and settles
    /// `selectedPaperSizeID`. A dimension that is not finite ends the program.
    void loadPaperSizes(const std::string& forPrinter);
    /// Fills `availablePaperTypes` from the queue's option listing and PPD and settles
    /// `selectedPaperTypeID`.
    void loadMediaTypes(const std::string& forPrinter);
    /// The PPD's paper dimensions in points, by the text before each line's colon: a key with a
    /// translation part stays whole and so names no choice. Empty when the PPD cannot be read.
    [[nodiscard]] std::map<std::string, SizePoints>
    loadPaperDimensions(const std::string& forPrinter) const;
    /// The PPD's media labels by choice. Empty when the PPD cannot be read.
    [[nodiscard]] std::map<std::string, std::string>
    loadMediaTypeNames(const std::string& forPrinter) const;
    /// Walks the profile folders and fills `availableICCProfiles`; the selection stays.
    void loadICCProfiles();

    /// Decodes the file and makes it the current photo, then rescans the colour profiles. A file
    /// that does not decode changes nothing.
    void loadImage(const FileUrl& from);

    /// The current photo for the screen: as the chosen profile will print it once that proof is
    /// ready (its arrival is announced); until then as it was shown before, a new photo plain. Null
    /// without a photo. The proof is started on the turn after photo, profile or intent change.
    [[nodiscard]] std::shared_ptr<const ScreenRendition> previewRendition() const;
    [[nodiscard]] ProofState previewProofState() const;

    // Page geometry, computed on each read.

    /// Never `auto_`: that resolves to the photo's own direction, portrait without one.
    [[nodiscard]] PaperOrientation effectiveOrientation() const;
    /// The margins the page is made with.
    [[nodiscard]] Margins effectiveMargins() const;
    /// The margins that the explicit image size leaves on the oriented sheet.
    [[nodiscard]] Margins marginsFromImageSize() const;

    /// Renders the page into a temporary PDF and builds the `lp` command. With `dryRun` the PDF is
    /// opened in the desktop's viewer; without, the command is run, which blocks until `lp` ends.
    /// Reports through `lastCUPSCommand` and `lastPrintError` only.
    void sendToCUPS(bool dryRun);

    // Presets; each change is stored at once.

    /// Appends a snapshot of the settings under `name`, exactly as given.
    void savePreset(const std::string& name);
    /// Assigns the preset's settings, one property after the other.
    void applyPreset(const PrintPreset& preset);
    /// Removes every preset of that `id`.
    void deletePreset(const PrintPreset& preset);

private:
    /// The colour space of the chosen profile; null for printer managed, an unreadable file, or
    /// one that is no profile. Nothing where that could not be found out.
    [[nodiscard]] std::optional<std::shared_ptr<const ColorSpace>> chosenColorSpace() const;
    /// Renders the page into `path`. False when the document could not be made: no file then.
    [[nodiscard]] bool renderPage(const std::string& path) const;
    void print(const std::string& command, const std::string& path);
    void persistPresets() const;
    void loadPresets();

    const Platform m_platform;
    /// The `id`s among `availablePaperSizes` that the PPD gives no measure.
    std::set<std::string> m_unmeasuredSizes;
    /// The one built last: most often the file still holds the same.
    mutable std::shared_ptr<const ColorSpace> m_chosenColorSpace;
    const std::shared_ptr<SoftProof> m_softProof;
    std::vector<Subscription> m_proofSubscriptions;
};

} // namespace lumivert
