#include "plugins/core/ProcessReport.h"

namespace zkplug {

namespace {
thread_local ProcessReport* installed = nullptr;
}

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
