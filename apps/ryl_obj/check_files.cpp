// ryl-obj check: the text of models and their libraries, statement by statement.
#include "check.h"
#include "number.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace {

constexpr char BLANKS[] = " \t\r\v\f";

std::string_view stripped(std::string_view text) {
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(BLANKS) + 1 - first);
}

// A line of a file, with those that it goes on in behind a "\".
struct Line {
    std::string_view text;
    unsigned long long number;
};

// Calls take(line) for each, until it says false.
template <typename Take>
void eachLine(std::string_view text, Take take) {
    // Carriage returns alone end lines too; looking for both takes longer.
    const bool returns = text.find('\r') != std::string_view::npos;
    const auto lineEnd = [&](std::size_t at) {
        const std::size_t end = returns ? text.find_first_of("\r\n", at) : text.find('\n', at);
        return std::min(end, text.size());
    };
    unsigned long long number = 1;
    for (std::size_t at = 0; at < text.size();) {
        const Line line{text.substr(at), number};
        std::size_t end = 0;
        bool goesOn = true;
        for (std::size_t from = at; goesOn && from < text.size(); at = from) {
            end = lineEnd(from);
            goesOn = end > from && text[end - 1] == '\\';
            from = end + (text.substr(end).starts_with("\r\n") ? 2 : 1);
            ++number;
        }
        if (!take(Line{line.text.substr(0, end - (line.text.data() - text.data())), line.number})) return;
    }
}

struct Statement {
    std::string_view keyword, rest;
};

Statement statementOf(std::string_view line) {
    line = stripped(line.substr(0, line.find('#')));
    const std::string_view keyword = line.substr(0, line.find_first_of(BLANKS));
    return {keyword, stripped(line.substr(keyword.size()))};
}

// ---- Lines of statements ------------------------------------------------------------------------------------------

// Whether it has three corners: the reader makes a face of those only.
bool isFace(std::string_view corners) {
    int count = 0;
    for (; !corners.empty() && count < 3; ++count)
        corners = stripped(corners.substr(std::min(corners.find_first_of(BLANKS), corners.size())));
    return count == 3;
}

// The place that a statement counts for; false if it counts for none.
bool placeOf(std::string_view line, Place& place) {
    const std::size_t start = line.find_first_not_of(BLANKS);
    if (start == std::string_view::npos || (line[start] != 'v' && line[start] != 'f')) return false;
    const Statement statement = statementOf(line);
    const std::string_view keyword = statement.keyword;
    place = keyword == "v"    ? Place::position
            : keyword == "vn" ? Place::normal
            : keyword == "vt" ? Place::texcoord
                              : Place::face;
    return place != Place::face || ((keyword == "f" || keyword == "fo") && isFace(statement.rest));
}

// ---- Material libraries -------------------------------------------------------------------------------------------

bool numberAt(std::string_view text, float& number) {
    if (text.starts_with('+')) text.remove_prefix(1);
    return ryl_numberAt(text, number) != nullptr;
}

struct Scan {
    std::vector<Finding>& findings;
    std::map<std::string, std::uint32_t, std::less<>> numbers;  // of the model's materials
    std::vector<bool> told;  // of these: they are used, or it was said that they are not
    std::string file = {};
    std::string material = {};  // the current one
    float opacity = NAN, transparency = NAN;

    void add(Kind kind, unsigned long long line, std::string text) {
        findings.push_back({kind, file, line, std::move(text)});
    }
};

void startMaterial(Scan& scan, std::string_view name, unsigned long long line) {
    scan.material = name;
    scan.opacity = scan.transparency = NAN;
    const auto number = scan.numbers.find(name);
    if (number == scan.numbers.end() || scan.told[number->second]) return;
    scan.told[number->second] = true;
    scan.add(Kind::unusedMaterial, line, "nothing uses material \"" + scan.material + "\"");
}

void checkOpacity(Scan& scan, unsigned long long line) {
    constexpr float TOLERANCE = 0.001f;
    if (std::abs(scan.opacity + scan.transparency - 1) > TOLERANCE)
        scan.add(Kind::material, line,
                 "d and Tr of material \"" + scan.material + "\" are at odds: their sum is not 1");
}

void checkStatement(Scan& scan, const Line& line) {
    const Statement statement = statementOf(line.text);
    if (statement.keyword == "newmtl") return startMaterial(scan, statement.rest, line.number);
    if (statement.keyword == "d" && numberAt(statement.rest, scan.opacity)) return checkOpacity(scan, line.number);
    if (statement.keyword == "Tr" && numberAt(statement.rest, scan.transparency)) checkOpacity(scan, line.number);
}

}  // namespace

void findLines(std::string_view text, std::vector<Wanted>& wanted) {
    constexpr std::size_t PLACES = 4;
    std::array<std::vector<Wanted*>, PLACES> left;
    for (Wanted& each : wanted) left[static_cast<std::size_t>(each.place)].push_back(&each);
    std::array<std::size_t, PLACES> next{};
    std::array<std::uint64_t, PLACES> counts{};
    std::size_t open = wanted.size();
    eachLine(text, [&](const Line& line) {
        Place place{};
        if (!placeOf(line.text, place)) return open > 0;
        const auto at = static_cast<std::size_t>(place);
        for (; next[at] < left[at].size() && left[at][next[at]]->number == counts[at]; ++next[at], --open)
            left[at][next[at]]->line = line.number;
        ++counts[at];
        return open > 0;
    });
}

void checkLibraries(const Model& model, std::vector<Finding>& findings) {
    const GLMmodel& records = *model.model;
    const GLMextras& extras = *model.extras;
    Scan scan{findings, {}, std::vector<bool>(records.nummaterials)};
    for (std::uint32_t i = 0; i < records.nummaterials; ++i) scan.numbers.try_emplace(records.materials[i].name, i);
    for (std::uint32_t i = 0; i < extras.numelements; ++i)
        if (extras.elements[i].material < scan.told.size()) scan.told[extras.elements[i].material] = true;
    for (std::uint32_t i = 0; i < extras.numlibraries; ++i) {
        const auto path = findLibrary(records, extras.libraries[i]);
        std::string text;
        if (!path || !readText(path->c_str(), text)) continue;
        scan.file = *path;
        eachLine(text, [&](const Line& line) {
            checkStatement(scan, line);
            return true;
        });
    }
}
