// The property-list writer: escaped text and a <dict> document around given entries.

#include "framework/PropertyList.h"

namespace zkfw::plist {

std::string EscapeText(std::string_view s) {
    std::string out;
    out.reserve(s.size());
    for (char c : s) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

std::string WriteDictDocument(const std::map<std::string, std::string>& entries) {
    std::string doc = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                      "<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, value] : entries) {
        doc += "\t<key>" + EscapeText(key) + "</key>\n\t" + value + "\n";
    }
    doc += "</dict>\n</plist>\n";
    return doc;
}

} // namespace zkfw::plist
