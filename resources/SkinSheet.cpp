#include "resources/SkinSheet.h"

#include "resources/SkinTable.h"
#include "widgets/CBitmap.h"
#include "widgets/CDrawContext.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace skin {

namespace {

constexpr CCoord kSheetWidth = 1100;
constexpr CCoord kGap = 14;
constexpr CCoord kCaption = 14;
constexpr CCoord kMaxPreviewHeight = 560; // long strips show their first frames only
constexpr CColor kSheetBackground{58, 60, 64, 255};

std::string FileName(const CBitmapDescription& d, double scale) {
    char buffer[160];
    std::snprintf(buffer, sizeof buffer, "%d-%s@%gx.png", d.id, d.name, scale);
    return buffer;
}

} // namespace

std::vector<std::string> WriteSkinSheet(const std::string& folder, double scale,
                                        std::vector<std::string>& errors) {
    std::vector<std::string> written;
    std::error_code ec;
    std::filesystem::create_directories(folder, ec);
    if (ec) {
        errors.push_back("cannot create folder '" + folder + "': " + ec.message());
        return written;
    }
    installSkin();

    struct Placed {
        const CBitmapDescription* d;
        CRect where;
    };
    std::vector<Placed> placed;
    CCoord x = kGap, y = kGap, rowHeight = 0;
    for (const CBitmapDescription& d : SkinTable()) {
        const CCoord w = std::min(d.width, kSheetWidth - 2 * kGap);
        const CCoord h = std::min(d.height, kMaxPreviewHeight);
        if (x + w + kGap > kSheetWidth) {
            x = kGap;
            y += rowHeight + kCaption + kGap;
            rowHeight = 0;
        }
        placed.push_back({&d, CRect(x, y + kCaption, x + w, y + kCaption + h)});
        x += std::max(w, CCoord{90}) + kGap;
        rowHeight = std::max(rowHeight, h);
    }
    const CCoord sheetHeight = y + rowHeight + kCaption + kGap;
    COffscreenContext sheet(kSheetWidth, sheetHeight, scale, kSheetBackground);

    for (const Placed& p : placed) {
        CBitmap bitmap(p.d->id);
        COffscreenContext single(p.d->width, p.d->height, scale, kTransparentCColor);
        bitmap.drawTransparent(&single, CRect(0, 0, p.d->width, p.d->height));
        const std::string path = folder + "/" + FileName(*p.d, scale);
        std::string error;
        if (single.writePNG(path, &error)) {
            written.push_back(path);
        } else {
            errors.push_back(error);
        }
        bitmap.drawTransparent(&sheet, p.where);
        char caption[80];
        std::snprintf(caption, sizeof caption, "%d %s", p.d->id, p.d->name);
        sheet.setFont(kNormalFontSmaller);
        sheet.setFontColor(kWhiteCColor);
        sheet.drawString(
            caption,
            CRect(p.where.left, p.where.top - kCaption, p.where.left + 200, p.where.top - 2), false,
            kLeftText);
    }
    char sheetName[64];
    std::snprintf(sheetName, sizeof sheetName, "/contact-sheet@%gx.png", scale);
    const std::string sheetPath = folder + sheetName;
    std::string error;
    if (sheet.writePNG(sheetPath, &error)) {
        written.push_back(sheetPath);
    } else {
        errors.push_back(error);
    }
    return written;
}

} // namespace skin
