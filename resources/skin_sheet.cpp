// Writes every skin bitmap and a contact sheet as PNG files.
// Usage: zk_skin_sheet [folder] [scale]   (defaults: skin 1)
#include "resources/SkinSheet.h"

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    const std::string folder = argc > 1 ? argv[1] : "skin";
    double scale = 1.0;
    if (argc > 2) {
        char* end = nullptr;
        scale = std::strtod(argv[2], &end);
        if (end == argv[2] || *end != '\0' || !(scale >= 0.5 && scale <= 4.0)) {
            std::fprintf(stderr, "zk_skin_sheet: scale '%s' is not a number from 0.5 to 4\n",
                         argv[2]);
            return 2;
        }
    }
    std::vector<std::string> errors;
    const auto written = skin::WriteSkinSheet(folder, scale, errors);
    for (const std::string& e : errors) {
        std::fprintf(stderr, "zk_skin_sheet: %s\n", e.c_str());
    }
    std::printf("wrote %zu files to %s\n", written.size(), folder.c_str());
    return errors.empty() ? 0 : 1;
}
