#pragma once

#include <functional>
#include <string>

// Opening an address with the desktop (browser, document viewer). The opener is
// replaceable so that tests can see which address a button asks for.
namespace zkeditor {

using UrlOpener = std::function<void(const std::string& url)>;

// Replaces the opener; an empty function restores the system's one.
void SetUrlOpener(UrlOpener opener);
// Hands the address to the current opener.
void OpenUrl(const std::string& url);

// The system's opener: starts xdg-open with the address as its only argument (no
// shell) and returns at once; false when it could not be started.
bool OpenUrlWithSystem(const std::string& url);
// Collects openers that have finished, so none lingers as a zombie. Never waits.
void ReapUrlOpeners();

} // namespace zkeditor
