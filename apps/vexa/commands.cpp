#include "commands.h"

#include <cstdio>
#include <filesystem>

#include "annotate.h"
#include "failure.h"
#include "list_output.h"
#include "output_files.h"
#include "picture_io.h"
#include "progress.h"
#include "report_html.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

std::string sizeText(const Image& image)
{
    return std::to_string(image.cols()) + " x " + std::to_string(image.rows());
}

void checkSameSize(const Picture& a, const Picture& b)
{
    if (a.image.cols() != b.image.cols() || a.image.rows() != b.image.rows())
        throw Failure("the pictures differ in size: " + a.name + " is " + sizeText(a.image) + ", " + b.name +
                      " is " + sizeText(b.image));
}

std::string listText(const InspectionReport& report, Format format)
{
    switch (format) {
    case Format::csv:
        return asCsv(report);
    case Format::json:
        return asJson(report);
    default:
        return asTable(report);
    }
}

void storePng(OutputFiles& files, const std::string& name, const Pixels& pixels)
{
    files.add(name, [&](const std::string& path) { storePicture(pixels, path, name); });
}

void writeReport(const InspectionReport& report, const std::string& folder)
{
    const Pixels boxed = annotated(report.defect.image, report.inspection.defects);
    const Pixels reference = report.reference.image.read();
    const Pixels defect = report.defect.image.read();
    const Pixels difference = report.inspection.difference.read();
    OutputFiles files(folder);
    storePng(files, "difference.png", difference);
    storePng(files, "residue.png", report.inspection.residue.read());
    storePng(files, "defects.png", boxed);
    files.add("defects.csv", asCsv(report));
    files.add("defects.json", asJson(report));
    files.add("report.html", asHtml(report, {reference, defect, boxed, difference}));
    files.commit();
}

std::string describe(const Picture& picture)
{
    const FileFacts& facts = picture.facts;
    const std::string head = picture.name + ": " + facts.format + ", " + sizeText(picture.image) + ", " +
                             std::to_string(facts.bits);
    if (facts.foreign)
        return head + " bits a pixel of an application's own\n";
    double count = 0.0;
    double mean = 0.0;
    double deviation = 0.0;
    double low = 0.0;
    double high = 0.0;
    require(I_ComputePixelStats(1, &count, &mean, &deviation, &low, &high, picture.image.number()) != 0,
            "cannot measure the picture");
    return head + (facts.floating ? "-bit floating-point" : "-bit") +
           (facts.color ? " colour, " : " grey, ") + std::to_string(facts.samples) +
           (facts.samples == 1 ? " sample" : " samples") + " a pixel; as 8 bits: " + fixed(low, 0) + " to " +
           fixed(high, 0) + ", mean " + fixed(mean, 2) + ", deviation " + fixed(deviation, 2) + "\n";
}

} // namespace

int runInspect(const InspectCommand& command)
{
    const Picture reference = readGreyPicture(command.reference);
    const Picture defect = readGreyPicture(command.defect);
    checkSameSize(reference, defect);
    Inspection inspection;
    {
        const Progress progress;
        inspection = inspect(reference.image, defect.image, command.settings);
    }
    for (const std::string& warning : inspection.alignment.warnings)
        note(warning);
    if (inspection.incomplete)
        note("the pictures differ in more places than can be listed; the list is not complete");
    const InspectionReport report{reference, defect, command.settings, inspection};
    if (!command.folder.empty())
        writeReport(report, command.folder);
    printText(listText(report, command.format));
    detail(countSentence(inspection) +
           (command.folder.empty()
                ? ""
                : "; report: " + (std::filesystem::path(command.folder) / "report.html").string()));
    return inspection.found == 0 ? kNoDefect : kDefects;
}

int runAlign(const AlignCommand& command)
{
    const Picture a = readGreyPicture(command.a);
    const Picture b = readGreyPicture(command.b);
    checkSameSize(a, b);
    Alignment alignment;
    {
        const Progress progress;
        alignment = findShift(a.image, b.image, command.settings);
    }
    for (const std::string& warning : alignment.warnings)
        note(warning);
    printText(command.asJson ? asJson(alignment) : shiftSentence(alignment) + "\n");
    return 0;
}

int runSynth(const SynthCommand& command)
{
    const Synth synth = makeSynth(command.settings);
    OutputFiles files(command.folder);
    storePng(files, "reference.png", synth.reference);
    storePng(files, "defect.png", synth.defect);
    files.add("truth.json", truthJson(synth));
    files.commit();
    const std::string planted = std::to_string(synth.plate.planted.size());
    if (synth.plate.planted.size() < static_cast<std::size_t>(command.settings.plate.defects))
        note("room for " + planted + " defects only");
    detail(planted + " defects planted");
    return 0;
}

int runInfo(const std::vector<std::string>& names)
{
    int code = 0;
    for (const std::string& name : names) {
        try {
            const Picture picture = examinePicture(name);
            std::string text = describe(picture);
            for (const std::string& line : picture.headers)
                text += "    " + line + "\n";
            printText(text);
        } catch (const Failure& failure) {
            std::fprintf(stderr, "vexa: %s\n", failure.what());
            code = kFailure;
        }
    }
    return code;
}

int runConvert(const ConvertCommand& command)
{
    convertPicture(command.in, command.out);
    return 0;
}

int runDiff(const DiffCommand& command)
{
    if (!isWritableName(command.out))
        throw Failure(command.out + ": a picture is written as .png, .bmp, .tif or .tiff");
    const Picture a = readGreyPicture(command.a);
    const Picture b = readGreyPicture(command.b);
    checkSameSize(a, b);
    const Progress progress;
    const Pixels difference = subtract(b.image, a.image, command.offset, command.clipMode).read();
    const std::filesystem::path out = command.out;
    OutputFiles files(out.parent_path());
    storePng(files, out.filename().string(), difference);
    files.commit();
    return 0;
}

} // namespace app
