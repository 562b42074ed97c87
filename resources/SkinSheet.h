#pragma once

#include <string>
#include <vector>

namespace skin {

// Writes every skin bitmap as <folder>/<id>-<name>@<scale>x.png plus
// contact-sheet@<scale>x.png (all bitmaps side by side, strips cut to their first frames).
// Returns the files written; errors (with the file name) go to errors.
std::vector<std::string> WriteSkinSheet(const std::string& folder, double scale,
                                        std::vector<std::string>& errors);

} // namespace skin
