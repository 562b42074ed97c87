#pragma once

#include "widgets/Events.h"

namespace zkeditor {

// The press that returns a knob or pad to its default: Alt-click (not the
// toolkit's Control-click, which starts a fine drag here) and, because many window
// managers take Alt-click for moving windows, a plain double click.
inline bool IsResetClick(long pressed) {
    const long buttons = pressed & (kLButton | kMButton | kRButton | kModifierMask);
    return buttons == (kLButton | kAlt) || (buttons == kLButton && (pressed & kDoubleClick) != 0);
}

} // namespace zkeditor
