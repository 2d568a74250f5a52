#include "list_output.h"

#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <vector>

namespace app
{
namespace
{

using Json = nlohmann::ordered_json;
using Row = std::vector<std::string>;

// Numbers in the JSON have the decimals of the other outputs, so that all three say the same.
double rounded(double value, int32_t decimals)
{
    double result = 0.0;
    const std::string text = fixed(value, decimals);
    std::from_chars(text.data(), text.data() + text.size(), result);
    return result;
}

Row columns()
{
    return {"number", "x",      "y",    "left",     "top",    "right",      "bottom",
            "width",  "height", "area", "contrast", "energy", "centroid_x", "centroid_y"};
}

Row cells(const Defect& defect)
{
    const VexaBox& box = defect.box;
    Row row;
    for (const int32_t number :
         {defect.number, defect.position.x, defect.position.y, box.left, box.top, box.right, box.bottom,
          box.right - box.left + 1, box.bottom - box.top + 1, defect.area})
        row.push_back(std::to_string(number));
    row.push_back(fixed(defect.contrast, 1));
    row.push_back(fixed(defect.energy, 2));
    row.push_back(fixed(static_cast<double>(defect.centroid.x), 2));
    row.push_back(fixed(static_cast<double>(defect.centroid.y), 2));
    return row;
}

std::string joined(const Row& row)
{
    std::string line;
    for (const std::string& cell : row)
        line += (line.empty() ? "" : ",") + cell;
    return line + "\n";
}

Json boxJson(const VexaBox& box)
{
    return {{"left", box.left}, {"top", box.top}, {"right", box.right}, {"bottom", box.bottom}};
}

Json pictureJson(const Picture& picture)
{
    return {{"file", picture.name},          {"format", picture.facts.format},
            {"width", picture.image.cols()}, {"height", picture.image.rows()},
            {"bits", picture.facts.bits},    {"samples", picture.facts.samples}};
}

Json settingsJson(const InspectionReport& report)
{
    const InspectSettings& settings = report.settings;
    return {{"threshold", settings.threshold},
            {"edge_tolerance", settings.edgeTolerance},
            {"min_size", settings.minSize},
            {"merge", settings.merge},
            {"max", settings.most},
            {"sort", sortName(settings.sort)},
            {"offset", {{"x", settings.align.start.x}, {"y", settings.align.start.y}}},
            {"align", alignName(settings.align.mode)},
            {"max_shift", settings.align.maxShift},
            {"tile", settings.align.tile},
            {"window", boxJson(report.inspection.window)}};
}

Json axisJson(const AxisShift& axis)
{
    return {{"shift", rounded(axis.shift, 3)},
            {"quality", rounded(axis.quality, 3)},
            {"contrast", rounded(axis.contrast, 3)},
            {"repeat", rounded(axis.repeat, 2)}};
}

Json alignmentJson(const Alignment& alignment)
{
    return {{"method", alignment.method},
            {"x", axisJson(alignment.x)},
            {"y", axisJson(alignment.y)},
            {"warnings", alignment.warnings}};
}

Json defectJson(const Defect& defect)
{
    const VexaBox& box = defect.box;
    return {{"number", defect.number},
            {"x", defect.position.x},
            {"y", defect.position.y},
            {"box", boxJson(box)},
            {"width", box.right - box.left + 1},
            {"height", box.bottom - box.top + 1},
            {"area", defect.area},
            {"contrast", rounded(defect.contrast, 1)},
            {"energy", rounded(defect.energy, 2)},
            {"centroid",
             {{"x", rounded(static_cast<double>(defect.centroid.x), 2)},
              {"y", rounded(static_cast<double>(defect.centroid.y), 2)}}}};
}

} // namespace

std::string fixed(double value, int32_t decimals)
{
    std::array<char, 400> text;
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
    return {text.data(), end};
}

const char* sortName(SortBy sort)
{
    return sort == SortBy::area ? "area" : sort == SortBy::energy ? "energy" : "intensity";
}

std::string countSentence(const Inspection& inspection)
{
    const int32_t found = inspection.found;
    std::string text =
        found == 0 ? "no defect" : std::to_string(found) + (found == 1 ? " defect" : " defects");
    if (const std::size_t listed = inspection.defects.size(); listed < static_cast<std::size_t>(found))
        text += ", " + std::to_string(listed) + " listed";
    return text;
}

std::string asJson(const Alignment& alignment)
{
    const Json document = {{"format", "vexa-align"}, {"version", 1}, {"alignment", alignmentJson(alignment)}};
    return document.dump(2) + "\n";
}

std::string asTable(const InspectionReport& report)
{
    std::string text = countSentence(report.inspection) + "\n";
    if (report.settings.align.mode != AlignMode::none)
        text += shiftSentence(report.inspection.alignment) + "\n";
    if (report.inspection.defects.empty())
        return text;
    std::vector<Row> rows = {{"no", "x", "y", "width", "height", "area", "contrast", "energy", "centroid"}};
    for (const Defect& defect : report.inspection.defects) {
        const Row all = cells(defect);
        rows.push_back(
            {all[0], all[1], all[2], all[7], all[8], all[9], all[10], all[11], all[12] + "," + all[13]});
    }
    std::vector<std::size_t> widths(rows.front().size());
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i)
            text += std::string(widths[i] - row[i].size() + (i > 0 ? 2 : 0), ' ') + row[i];
        text += "\n";
    }
    return text;
}

std::string asCsv(const InspectionReport& report)
{
    std::string text = joined(columns());
    for (const Defect& defect : report.inspection.defects)
        text += joined(cells(defect));
    return text;
}

std::string asJson(const InspectionReport& report)
{
    Json defects = Json::array();
    for (const Defect& defect : report.inspection.defects)
        defects.push_back(defectJson(defect));
    const Json document = {{"format", "vexa-inspect"},
                           {"version", 2},
                           {"reference", pictureJson(report.reference)},
                           {"defect", pictureJson(report.defect)},
                           {"settings", settingsJson(report)},
                           {"alignment", alignmentJson(report.inspection.alignment)},
                           {"found", report.inspection.found},
                           {"incomplete", report.inspection.incomplete},
                           {"defects", defects}};
    // File names need not be UTF-8; what is none is replaced.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace app
