#pragma once

#include "widgets/CBitmap.h"

#include <span>

namespace skin {

// Every bitmap of the skin: id, name, logical size, frame layout and painter.
std::span<const CBitmapDescription> SkinTable();

// Makes CBitmap(id) find the skin's bitmaps. Call once before an editor opens.
void installSkin();

} // namespace skin
