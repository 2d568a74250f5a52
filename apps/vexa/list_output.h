// The list of defects as a table, as comma-separated values and as JSON. docs/inspect-output.md describes the last two.
#ifndef VEXA_APPS_LIST_OUTPUT_H
#define VEXA_APPS_LIST_OUTPUT_H

#include <string>

#include "inspect.h"
#include "picture_io.h"

namespace app
{

struct InspectionReport {
    const Picture& reference;
    const Picture& defect;
    const InspectSettings& settings;
    const Inspection& inspection;
};

std::string asTable(const InspectionReport& report);
std::string asCsv(const InspectionReport& report);
std::string asJson(const InspectionReport& report);
std::string asJson(const Alignment& alignment);

// "2 defects", "1 defect", "no defect", with the number listed where it is smaller.
std::string countSentence(const Inspection& inspection);
// A number with a fixed count of decimals and a point, whatever the locale.
std::string fixed(double value, int32_t decimals);
const char* sortName(SortBy sort);

} // namespace app

#endif
