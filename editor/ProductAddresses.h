#pragma once

// The two addresses the help pages open: the manual installed with the plug-ins
// and the product's web page. The build may point the manual elsewhere
// (ZK_MANUAL_URL); the default is where the install step puts it.
#ifndef ZK_MANUAL_URL
#define ZK_MANUAL_URL "file:///usr/local/share/doc/zkmorva-eq/manual/index.html"
#endif

#include <string>

namespace zkeditor {

inline constexpr const char* kManualUrl = ZK_MANUAL_URL;
inline constexpr const char* kProductPageUrl = "https://zkmorva-eq.example.org/";

// The manual the help pages open, first found of: ZK_MANUAL_URL in the
// environment; the copy the user install puts in the user's data folder
// ($XDG_DATA_HOME, else ~/.local/share, then doc/zkmorva-eq/manual/index.html),
// since plug-ins installed for one user have no system prefix; kManualUrl.
std::string ManualUrl();

} // namespace zkeditor
