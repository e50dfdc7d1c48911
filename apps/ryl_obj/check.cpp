// ryl-obj check: everything that is wrong with a model, or may be, with the lines where it is.
#include "check.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t SHOWN = 10;  // findings of a kind, unless --all is given

enum class Severity { error, warning, note };
constexpr const char* SEVERITIES[] = {"error", "warning", "note"};

struct KindRow {
    const char* name;
    Severity severity;
    const char* help;
};

// In the order of the enumeration, and of the report.
constexpr KindRow ROWS[KINDS] = {
    {"syntax", Severity::warning, "statements that are no OBJ or MTL, or that are skipped"},
    {"index", Severity::error, "indices of things that are not there"},
    {"missing-file", Severity::warning, "material libraries and textures that cannot be found"},
    {"material", Severity::warning, "materials that are unknown or double; d and Tr at odds"},
    {"unused-material", Severity::note, "materials that no face, line or point has"},
    {"not-finite", Severity::error, "numbers that are infinite or none"},
    {"degenerate-face", Severity::warning, "faces without area, or with two neighbouring corners at one position"},
    {"duplicate-face", Severity::warning, "faces with the positions of another one"},
    {"winding", Severity::warning, "neighbouring faces of which one is turned over"},
    {"flipped", Severity::warning, "faces whose normals point to the back; closed parts that are inside out"},
    {"non-manifold-edge", Severity::warning, "edges of more than two faces"},
    {"open-edge", Severity::note, "edges of one face"},
    {"normal-length", Severity::warning, "normals whose length is not 1"},
    {"duplicate-position", Severity::note, "positions that equal another one"},
    {"unused", Severity::note, "positions, normals and texture coordinates that nothing uses"},
};

constexpr const char* PLACES[] = {"face", "position", "normal", "texture coordinate"};

const KindRow& rowOf(Kind kind) { return ROWS[static_cast<std::size_t>(kind)]; }

// What is found in a file: the first of each kind in words, and how many there are.
struct Report {
    std::string file;
    std::vector<Finding> findings;
    std::array<std::uint64_t, KINDS> counts{};
    bool unusable = false;
};

// ---- Words for spots ----------------------------------------------------------------------------------------------

std::string between(const Spot& spot) {
    return "the edge between positions " + std::to_string(spot.a) + " and " + std::to_string(spot.b);
}

std::string lengthText(const GLMmodel& model, const Spot& spot) {
    const float* normal = model.normals + std::size_t{3} * (spot.number + 1);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "the normal has the length %.3g",
                  std::hypot(double{normal[0]}, double{normal[1]}, double{normal[2]}));
    return text.data();
}

// `other` is the line of the face that spot.a names.
std::string textOf(const GLMmodel& model, Kind kind, const Spot& spot, unsigned long long other) {
    const std::string what = PLACES[static_cast<std::size_t>(spot.place)];
    switch (kind) {
    case Kind::notFinite:
        return "the " + what + " is not finite";
    case Kind::degenerateFace:
        return spot.a != 0 ? "two neighbouring corners are at one position" : "the face has no area";
    case Kind::duplicateFace:
        return "the face has the positions of the one in line " + std::to_string(other);
    case Kind::winding:
        return between(spot) + " runs as in the face on its other side: one of the two is turned over";
    case Kind::flipped:
        return spot.a != 0 ? "the closed part of " + std::to_string(spot.a) + " faces that begins here is inside out"
                           : "the normals point to the back of the face";
    case Kind::nonManifoldEdge:
        return "more than two faces share " + between(spot);
    case Kind::openEdge:
        return between(spot) + " belongs to this face alone";
    case Kind::normalLength:
        return lengthText(model, spot);
    case Kind::duplicatePosition:
        return "the position equals position " + std::to_string(spot.a);
    default:
        return "nothing uses the " + what;
    }
}

// The first spots of each kind, in file order.
void shorten(Shape& shape, std::size_t shown) {
    for (std::vector<Spot>& spots : shape.spots) {
        const auto middle = spots.begin() + static_cast<std::ptrdiff_t>(std::min(shown, spots.size()));
        std::partial_sort(spots.begin(), middle, spots.end(), [](const Spot& x, const Spot& y) {
            return std::tie(x.place, x.number, x.a, x.b) < std::tie(y.place, y.number, y.a, y.b);
        });
        spots.erase(middle, spots.end());
    }
}

std::vector<Wanted> linesOf(const Shape& shape, std::string_view text) {
    std::vector<Wanted> wanted;
    for (std::size_t kind = 0; kind < KINDS; ++kind)
        for (const Spot& spot : shape.spots[kind]) {
            wanted.push_back({spot.place, spot.number, 0});
            if (static_cast<Kind>(kind) == Kind::duplicateFace) wanted.push_back({Place::face, spot.a, 0});
        }
    std::sort(wanted.begin(), wanted.end(), [](const Wanted& a, const Wanted& b) {
        return std::tie(a.place, a.number) < std::tie(b.place, b.number);
    });
    if (!wanted.empty()) findLines(text, wanted);
    return wanted;
}

unsigned long long lineIn(const std::vector<Wanted>& wanted, Place place, std::uint32_t number) {
    const auto found =
        std::lower_bound(wanted.begin(), wanted.end(), std::tie(place, number),
                         [](const Wanted& each, const std::tuple<const Place&, const std::uint32_t&>& key) {
                             return std::tie(each.place, each.number) < key;
                         });
    return found == wanted.end() ? 0 : found->line;
}

void describe(const Model& model, Shape shape, std::string_view text, std::size_t shown, Report& report) {
    for (std::size_t kind = 0; kind < KINDS; ++kind) report.counts[kind] += shape.spots[kind].size();
    shorten(shape, shown);
    const std::vector<Wanted> lines = linesOf(shape, text);
    for (std::size_t kind = 0; kind < KINDS; ++kind)
        for (const Spot& spot : shape.spots[kind]) {
            const auto which = static_cast<Kind>(kind);
            const auto other = which == Kind::duplicateFace ? lineIn(lines, Place::face, spot.a) : 0;
            report.findings.push_back({which, report.file, lineIn(lines, spot.place, spot.number),
                                       textOf(*model.model, which, spot, other)});
        }
}

// ---- A file -------------------------------------------------------------------------------------------------------

// What the reader's words are about.
Kind kindOf(std::string_view text) {
    constexpr struct {
        const char* word;
        Kind kind;
    } WORDS[] = {{"material file", Kind::missingFile},
                 {"image", Kind::missingFile},
                 {"material", Kind::material},
                 {" is not there", Kind::index},
                 {" index ", Kind::index}};
    for (const auto& [word, kind] : WORDS)
        if (text.find(word) != std::string_view::npos) return kind;
    return Kind::syntax;
}

void takeWarning(void* data, const GLMwarning& warning) {
    auto& report = *static_cast<Report*>(data);
    const Kind kind = kindOf(warning.text);
    std::string text(withoutFunction(warning.text));
    if (warning.count > 1) text += " (" + std::to_string(warning.count) + " times)";
    report.findings.push_back({kind, nameOf(warning.file), warning.line, std::move(text)});
}

// Counts the findings in words, and leaves the first ones of each kind.
void countTexts(Report& report, std::size_t shown) {
    std::array<std::size_t, KINDS> kept{};
    std::stable_sort(report.findings.begin(), report.findings.end(),
                     [](const Finding& a, const Finding& b) { return a.kind < b.kind; });
    std::erase_if(report.findings, [&](const Finding& finding) {
        const auto kind = static_cast<std::size_t>(finding.kind);
        ++report.counts[kind];
        return kept[kind]++ >= shown;
    });
}

Report check(const char* path, std::size_t shown) {
    Report report{nameOf(path), {}, {}, false};
    Model model;
    std::string text;
    GLMerror error{};
    GLMoptions options;
    options.polygons = true;
    options.warn = takeWarning;
    options.data = &report;
    report.unusable = !readModel(path, model, options, &error, &text);
    if (report.unusable)
        report.findings.insert(report.findings.begin(), Finding{kindOf(error.text), nameOf(error.file), error.line,
                                                                std::string(withoutFunction(error.text)), true});
    else
        checkLibraries(model, report.findings);
    countTexts(report, shown);
    if (report.unusable) return report;
    showProgress("checking", UNKNOWN);
    describe(model, checkShape(model), text, shown, report);
    std::stable_sort(report.findings.begin(), report.findings.end(),
                     [](const Finding& a, const Finding& b) { return a.kind < b.kind; });
    return report;
}

// ---- Printing -----------------------------------------------------------------------------------------------------

const char* severityOf(const Finding& finding) {
    if (finding.unusable) return "error";
    return SEVERITIES[static_cast<std::size_t>(rowOf(finding.kind).severity)];
}

void print(const Report& report) {
    hideProgress();
    std::array<std::uint64_t, KINDS> left = report.counts;
    for (std::size_t i = 0; i < report.findings.size(); ++i) {
        const Finding& finding = report.findings[i];
        const auto kind = static_cast<std::size_t>(finding.kind);
        std::string place = printable(finding.file);
        if (finding.line != 0) place += ":" + std::to_string(finding.line);
        std::printf("%s: %s: %s [%s]\n", place.c_str(), severityOf(finding), printable(finding.text).c_str(),
                    ROWS[kind].name);
        --left[kind];
        const bool last = i + 1 == report.findings.size() || report.findings[i + 1].kind != finding.kind;
        if (last && left[kind] > 0)
            std::printf("%s: ... and %llu more [%s] (--all shows all)\n", printable(report.file).c_str(),
                        static_cast<unsigned long long>(left[kind]), ROWS[kind].name);
    }
    std::string sum;
    for (std::size_t kind = 0; kind < KINDS; ++kind)
        if (report.counts[kind] > 0)
            sum += (sum.empty() ? "" : ", ") + std::to_string(report.counts[kind]) + " " + ROWS[kind].name;
    std::printf("%s: %s\n", printable(report.file).c_str(), sum.empty() ? "nothing found" : sum.c_str());
}

Json jsonOf(const Report& report) {
    Json counts = Json::object(), findings = Json::array();
    for (std::size_t kind = 0; kind < KINDS; ++kind)
        if (report.counts[kind] > 0) counts[ROWS[kind].name] = report.counts[kind];
    for (const Finding& finding : report.findings)
        findings.push_back({{"kind", rowOf(finding.kind).name},
                            {"severity", severityOf(finding)},
                            {"file", finding.file},
                            {"line", finding.line == 0 ? Json(nullptr) : Json(finding.line)},
                            {"text", finding.text}});
    return {{"file", report.file}, {"usable", !report.unusable}, {"counts", counts}, {"findings", findings}};
}

// ---- The command --------------------------------------------------------------------------------------------------

// Adds the kinds in "KIND,KIND" to those that fail; a severity stands for its kinds.
void addFailing(const char* list, std::array<bool, KINDS>& failing) {
    for (std::string_view left = list; !left.empty();) {
        const std::string_view name = left.substr(0, left.find(','));
        left.remove_prefix(std::min(left.size(), name.size() + 1));
        bool known = false;
        for (std::size_t kind = 0; kind < KINDS; ++kind) {
            const bool meant = name == ROWS[kind].name || name == "all" ||
                               name == SEVERITIES[static_cast<std::size_t>(ROWS[kind].severity)];
            if (meant) failing[kind] = known = true;
        }
        if (!known) refuse("--fail-on knows no kind \"%s\"; see --help", printable(name).c_str());
    }
}

std::array<bool, KINDS> failingKinds(const CommandLine& line) {
    std::array<bool, KINDS> failing{};
    if (valueOf(line, "fail-on") == nullptr) addFailing("error,warning", failing);
    for (const GivenOption& option : line.options)
        if (option.name == "fail-on") addFailing(option.value, failing);
    return failing;
}

int statusOf(const Report& report, const std::array<bool, KINDS>& failing) {
    if (report.unusable) return UNUSABLE;
    for (std::size_t kind = 0; kind < KINDS; ++kind)
        if (failing[kind] && report.counts[kind] > 0) return FINDINGS;
    return FINE;
}

int run(const CommandLine& line) {
    const std::array<bool, KINDS> failing = failingKinds(line);
    const bool json = valueOf(line, "json") != nullptr;
    const std::size_t shown = valueOf(line, "all") != nullptr ? SIZE_MAX : SHOWN;
    int status = FINE;
    Json every = Json::array();
    for (const char* path : line.operands) {
        const Report report = check(path, shown);
        status = std::max(status, statusOf(report, failing));
        json ? every.push_back(jsonOf(report)) : print(report);
    }
    if (json) std::puts(every.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    return status;
}

// Names and meanings of the kinds.
const char* details() {
    static const std::string TEXT = [] {
        std::string text = "Kinds of findings, by severity:\n";
        for (const char* severity : SEVERITIES)
            for (const KindRow& row : ROWS) {
                if (SEVERITIES[static_cast<std::size_t>(row.severity)] != severity) continue;
                std::array<char, 128> start{};
                std::snprintf(start.data(), start.size(), "\n  %-8s %-19s ", severity, row.name);
                text += start.data() + std::string(row.help);
            }
        return text + "\n\nPositions that are equal count as one where faces meet.";
    }();
    return TEXT.c_str();
}

constexpr Option OPTIONS[] = {
    {"fail-on", "KIND[,KIND]",
     "findings for which the exit status is 1: kinds, severities or\n"
     "\"all\"; without it errors and warnings"},
    {"all", nullptr, "show all findings of a kind, not only the first ten"},
    {"json", nullptr, "print an array of JSON objects, one for each file"},
};

}  // namespace

const Command CHECK_COMMAND = {.name = "check",
                               .operands = "FILE...",
                               .least = 1,
                               .most = ANY_NUMBER,
                               .summary = "find what is wrong with models, with its lines",
                               .details = details(),
                               .options = OPTIONS,
                               .run = run};
