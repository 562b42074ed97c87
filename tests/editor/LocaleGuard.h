#pragma once

#include <clocale>
#include <cstdio>
#include <cstring>
#include <string>

namespace zktest {

// Switches the process to a German locale (decimal comma) for the scope, if one
// is installed; the previous locale comes back at the end.
class GermanLocale {
public:
    GermanLocale() : previous(std::setlocale(LC_ALL, nullptr)) {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "de_DE@euro"}) {
            if (std::setlocale(LC_ALL, name) != nullptr) {
                char probe[16];
                std::snprintf(probe, sizeof probe, "%.1f", 2.5);
                active = std::strcmp(probe, "2,5") == 0;
                if (active) {
                    return;
                }
            }
        }
        std::setlocale(LC_ALL, previous.c_str());
    }
    ~GermanLocale() { std::setlocale(LC_ALL, previous.c_str()); }
    GermanLocale(const GermanLocale&) = delete;
    GermanLocale& operator=(const GermanLocale&) = delete;
    bool isActive() const { return active; }

private:
    std::string previous;
    bool active = false;
};

} // namespace zktest
