#pragma once

// The two addresses the help pages open: the manual installed with the plug-ins
// and the product's web page. The build may point the manual elsewhere
// (ZK_MANUAL_URL); the default is where the install step puts it.
#ifndef ZK_MANUAL_URL
#define ZK_MANUAL_URL "file:///usr/local/share/doc/zkmorva-eq/manual/index.html"
#endif

namespace zkeditor {

inline constexpr const char* kManualUrl = ZK_MANUAL_URL;
inline constexpr const char* kProductPageUrl = "https://zkmorva-eq.example.org/";

} // namespace zkeditor
