#include "plugins/core/ProcessReport.h"

namespace zkplug {

namespace {
// Initial-exec: the pointer lives in the static TLS block that the loader reserves
// when it loads the plug-in, so the first use on a host's audio thread does not
// allocate (dynamic TLS in a loaded library would).
__attribute__((tls_model("initial-exec"))) thread_local ProcessReport* installed = nullptr;
} // namespace

ProcessReport* CurrentProcessReport() {
    return installed;
}

ScopedProcessReport::ScopedProcessReport(ProcessReport& report) : previous(installed) {
    installed = &report;
}

ScopedProcessReport::~ScopedProcessReport() {
    installed = previous;
}

} // namespace zkplug
