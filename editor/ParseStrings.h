#pragma once

#include <string_view>

class CControl;

// Parse functions: the text typed into a text box (a CTextEdit or a class derived
// from it) to a normalised control value. The magnitude of the typed number is
// used; apart from string2qualityHiLoPass (at most 0.5, so that slopes are only
// chosen by dragging) nothing is limited to 0..1 here: that is the receiving
// control's business. Letters only give 0, so a logarithmic law gives -infinity.
float string2dB(CControl* control);
float string2dBEq(CControl* control);
float string2quality(CControl* control);
float string2qualityHiLoPass(CControl* control);
float string2qualityShelv(CControl* control);
float string2frequency20_1000(CControl* control);
float string2frequency20_26000(CControl* control);
float string2frequency400_26000(CControl* control);
float string2frequency40_200(CControl* control);
float string2frequency8000_20000(CControl* control);
float string2percentStWi(CControl* control);

namespace zkeditor {

// The number in typed text: only the first 10 characters count; ',' is read as
// '.'; a 'k' or 'K' ends the number and multiplies it by 1000; otherwise the
// leading number as the C library reads it (rest ignored, none gives 0). Never
// depends on the process locale.
double ReadTypedNumber(std::string_view text);

// The same laws on a number already read.
float TypedDb(double v);
float TypedDbEq(double v);
float TypedQuality(double v);
float TypedQualityHiLoPass(double v);
float TypedQualityShelv(double v);
float TypedFrequency20_1000(double v);
float TypedFrequency20_26000(double v);
float TypedFrequency400_26000(double v);
float TypedFrequency40_200(double v);
float TypedFrequency8000_20000(double v);
float TypedPercentStWi(double v);

} // namespace zkeditor
