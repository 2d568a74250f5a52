#include "report_html.h"

#include <algorithm>
#include <array>
#include <ctime>

#include "failure.h"
#include "report_style.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int32_t kWidestView = 1600; // larger pictures are shown reduced
constexpr int32_t kSmallestCrop = 48; // side of a crop in pixels
constexpr int32_t kCropMargin = 16;   // around a defect
constexpr std::size_t kMostCrops = 100;

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char c : text)
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += c;
        }
    return result;
}

std::string embedded(const Pixels& pixels)
{
    const std::vector<uint8_t> file = encodePng(pixels);
    int32_t length = 0;
    char* text = I_ConvertBase64(file.data(), static_cast<int32_t>(file.size()), &length, 1);
    require(text != nullptr, "cannot embed a picture");
    std::string result = "data:image/png;base64," + std::string(text, static_cast<std::size_t>(length));
    vexaFree(text);
    return result;
}

// The mean of squares of pixels, so that a large picture does not swell the page.
Pixels reduced(const Pixels& pixels)
{
    const int32_t factor = (std::max(pixels.cols, pixels.rows) + kWidestView - 1) / kWidestView;
    if (factor < 2)
        return pixels;
    Pixels result(std::max(1, pixels.cols / factor), std::max(1, pixels.rows / factor), pixels.channels);
    for (int32_t y = 0; y < result.rows; ++y)
        for (int32_t i = 0; i < result.cols * result.channels; ++i) {
            const int32_t x = i / result.channels * factor;
            const int32_t band = i % result.channels;
            const int32_t cols = std::min(factor, pixels.cols - x);
            const int32_t rows = std::min(factor, pixels.rows - y * factor);
            int32_t sum = 0;
            for (int32_t dy = 0; dy < rows; ++dy)
                for (int32_t dx = 0; dx < cols; ++dx)
                    sum += pixels.row(y * factor + dy)[(x + dx) * pixels.channels + band];
            result.row(y)[i] = static_cast<uint8_t>(sum / (cols * rows));
        }
    return result;
}

std::string row(const std::string& name, const std::string& value)
{
    return "<tr><th>" + name + "</th><td>" + escaped(value) + "</td></tr>\n";
}

std::string boxText(const VexaBox& box)
{
    return "x " + std::to_string(box.left) + " to " + std::to_string(box.right) + ", y " +
           std::to_string(box.top) + " to " + std::to_string(box.bottom);
}

std::string pictureText(const Picture& picture)
{
    const FileFacts& facts = picture.facts;
    return facts.format + ", " + std::to_string(picture.image.cols()) + " x " +
           std::to_string(picture.image.rows()) + " pixels, " + std::to_string(facts.bits) + " bits" +
           (facts.color ? ", colour" : "");
}

std::string timeText()
{
    const std::time_t now = std::time(nullptr);
    std::array<char, 40> text = {};
    if (const std::tm* utc = std::gmtime(&now))
        std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", utc);
    return text.data();
}

std::string facts(const InspectionReport& report)
{
    const InspectSettings& settings = report.settings;
    std::string text = "<section class=\"facts\">\n<div><h2>Pictures</h2><table>\n";
    text += row("Reference", report.reference.name) + row("Its format", pictureText(report.reference));
    text += row("Defect picture", report.defect.name) + row("Its format", pictureText(report.defect));
    text += row("Window inspected", boxText(report.inspection.window));
    text += "</table></div>\n<div><h2>Settings</h2><table>\n";
    text += row("Threshold", std::to_string(settings.threshold) + " grey levels");
    text += row("Edge tolerance", std::to_string(settings.edgeTolerance) + " pixels");
    text += row("Smallest size", std::to_string(settings.minSize) + " pixels");
    text += row("Merged up to", std::to_string(2 * settings.merge) + " pixels apart");
    text += row("Alignment", shiftSentence(report.inspection.alignment));
    for (const std::string& warning : report.inspection.alignment.warnings)
        text += row("Warning", warning);
    text += row("Sorted by", sortName(settings.sort));
    return text + "</table></div>\n</section>\n";
}

std::string figure(const Pixels& pixels, const std::string& caption)
{
    return "<figure><img alt=\"" + caption + "\" src=\"" + embedded(reduced(pixels)) + "\"><figcaption>" +
           caption + "</figcaption></figure>\n";
}

std::string views(const ReportPictures& pictures)
{
    return "<section><h2>Overview</h2>\n<div class=\"views\">\n" +
           figure(pictures.annotated, "Defect picture, defects boxed and numbered") + "<div>\n" +
           figure(pictures.reference, "Reference") +
           figure(pictures.difference, "Difference: light where brighter than the reference") +
           "</div></div></section>\n";
}

std::string table(const std::vector<Defect>& defects)
{
    std::string text =
        "<section><h2>List</h2>\n<table class=\"list\"><thead><tr><th>No.</th><th>Left</th><th>Top</th>"
        "<th>Width</th><th>Height</th><th>Area<br>px</th><th>Contrast<br>levels</th><th>Energy</th>"
        "<th>Centroid x</th>"
        "<th>Centroid y</th></tr></thead>\n<tbody>\n";
    for (std::size_t i = 0; i < defects.size(); ++i) {
        const Defect& defect = defects[i];
        const VexaBox& box = defect.box;
        const std::string number = std::to_string(defect.number);
        text += "<tr><td>" + (i < kMostCrops ? "<a href=\"#d" + number + "\">" + number + "</a>" : number);
        for (const int32_t value :
             {box.left, box.top, box.right - box.left + 1, box.bottom - box.top + 1, defect.area})
            text += "</td><td>" + std::to_string(value);
        text += "</td><td>" + fixed(defect.contrast, 1);
        text += "</td><td>" + fixed(defect.energy, 2);
        text += "</td><td>" + fixed(static_cast<double>(defect.centroid.x), 2);
        text += "</td><td>" + fixed(static_cast<double>(defect.centroid.y), 2) + "</td></tr>\n";
    }
    return text + "</tbody></table></section>\n";
}

// A square around a defect, held to the picture.
VexaBox cropWindow(const VexaBox& box, const Pixels& pixels)
{
    const int32_t longest = std::max(box.right - box.left, box.bottom - box.top) + 1;
    const int32_t side = std::max(longest + 2 * kCropMargin, kSmallestCrop);
    const int32_t left =
        std::clamp((box.left + box.right + 1 - side) / 2, 0, std::max(0, pixels.cols - side));
    const int32_t top = std::clamp((box.top + box.bottom + 1 - side) / 2, 0, std::max(0, pixels.rows - side));
    return {left, top, std::min(left + side, pixels.cols) - 1, std::min(top + side, pixels.rows) - 1};
}

Pixels cut(const Pixels& pixels, const VexaBox& window)
{
    Pixels part(window.right - window.left + 1, window.bottom - window.top + 1, 1);
    for (int32_t y = 0; y < part.rows; ++y)
        std::copy_n(pixels.row(window.top + y) + window.left, part.cols, part.row(y));
    return part;
}

std::string percent(double part, double whole)
{
    return fixed(100.0 * part / whole, 2) + "%";
}

// The crop with the defect's box drawn over it by the browser.
std::string crop(const Pixels& pixels, const VexaBox& window, const VexaBox& box, const char* caption)
{
    const double cols = window.right - window.left + 1;
    const double rows = window.bottom - window.top + 1;
    return std::string("<figure><div class=\"crop\"><img alt=\"") + caption + "\" src=\"" +
           embedded(cut(pixels, window)) + "\"><i style=\"left:" + percent(box.left - window.left, cols) +
           ";top:" + percent(box.top - window.top, rows) +
           ";width:" + percent(box.right - box.left + 1, cols) +
           ";height:" + percent(box.bottom - box.top + 1, rows) + "\"></i></div><figcaption>" + caption +
           "</figcaption></figure>\n";
}

std::string entry(const Defect& defect, const ReportPictures& pictures)
{
    const VexaBox window = cropWindow(defect.box, pictures.defect);
    const std::string number = std::to_string(defect.number);
    return "<div class=\"entry\" id=\"d" + number + "\"><h3>Defect " + number + "<span>" +
           (defect.contrast < 0.0 ? "darker" : "brighter") + ", area " + std::to_string(defect.area) +
           " px, contrast " + fixed(defect.contrast, 1) + ", energy " + fixed(defect.energy, 2) +
           "</span></h3>\n<div class=\"crops\">\n" +
           crop(pictures.reference, window, defect.box, "reference") +
           crop(pictures.defect, window, defect.box, "defect") +
           crop(pictures.difference, window, defect.box, "difference") + "</div></div>\n";
}

std::string entries(const InspectionReport& report, const ReportPictures& pictures)
{
    const std::vector<Defect>& defects = report.inspection.defects;
    std::string text = "<section><h2>Defects</h2>\n";
    if (defects.size() > kMostCrops)
        text += "<p class=\"note\">The first " + std::to_string(kMostCrops) + " of the list are shown.</p>\n";
    text += "<div class=\"entries\">\n";
    for (std::size_t i = 0; i < std::min(defects.size(), kMostCrops); ++i)
        text += entry(defects[i], pictures);
    return text + "</div></section>\n";
}

} // namespace

std::string asHtml(const InspectionReport& report, const ReportPictures& pictures)
{
    const bool pass = report.inspection.found == 0;
    std::string text = "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
                       "<title>Inspection report</title>\n<style>";
    text += kReportStyle;
    text += "</style></head>\n<body><main>\n<header><div><h1>Inspection report</h1><p>" + timeText() +
            "</p></div><div class=\"verdict " + (pass ? "pass" : "fail") + "\">" +
            countSentence(report.inspection) + "</div></header>\n";
    text += facts(report) + views(pictures);
    if (!pass)
        text += table(report.inspection.defects) + entries(report, pictures);
    text +=
        "<footer>Made by vexa " + std::string(vexaVersion()) +
        ". Area, box, contrast, energy and centroid are measured on the difference picture; coordinates are "
        "pixels of the "
        "defect picture, (0, 0) at the top left.</footer>\n</main></body></html>\n";
    return text;
}

} // namespace app
