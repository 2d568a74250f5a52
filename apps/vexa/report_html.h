// The inspection report: one page that needs nothing but a browser.
#ifndef VEXA_APPS_REPORT_HTML_H
#define VEXA_APPS_REPORT_HTML_H

#include <string>

#include "list_output.h"

namespace app
{

// The pixels that the page shows beside the list.
struct ReportPictures {
    const Pixels& reference;
    const Pixels& defect;
    const Pixels& annotated;
    const Pixels& difference;
};

std::string asHtml(const InspectionReport& report, const ReportPictures& pictures);

} // namespace app

#endif
