// ryl-obj picture: shaded pictures of models, without a display.
#include "camera.h"
#include "command.h"
#include "image.h"
#include "parallel.h"
#include "render.h"
#include "subject.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

constexpr int MOST_PIXELS = 16384;  // of a side
constexpr int MOST_FRAMES = 100000;

constexpr const char* UP_AXES[] = {"x", "y", "z", "-x", "-y", "-z"};  // in the order of UpAxis

constexpr Option OPTIONS[] = {
    {"size", "WxH", "pixels, 800x600 if not given; one number for both"},
    {"azimuth", "DEGREES",
     "where the camera stands: to the right around the model, from\n-360 to 360; 30 if not given"},
    {"elevation", "DEGREES", "and above the horizon, from -90 to 90; 20 if not given"},
    {"roll", "DEGREES", "turns the picture clockwise"},
    {"up", "AXIS", "what points up: x, y, z, -x, -y or -z; y if not given"},
    {"fov", "DEGREES", "field of view, 0 to 120; 0: no perspective; 30 if not given"},
    {"zoom", "FACTOR", "0.01 to 64, of the size that fits; 1 if not given"},
    {"background", "COLOURS", "RRGGBB, or two with a comma between them, from top to bottom;\nor transparent"},
    {"smooth", "DEGREES",
     "makes the normals: triangles that meet in less share one; 0: facets.\nIf not given, the "
     "file's normals or smoothing groups decide, or 40"},
    {"edges", nullptr, "draws the edges of the triangles too"},
    {"wireframe", nullptr, "draws nothing but edges"},
    {"point-size", "PIXELS", "0.5 to 100; 4 if not given"},
    {"line-width", "PIXELS", "0.5 to 100; 1.5 if not given"},
    {"no-textures", nullptr, "leaves images out"},
    {"samples", "N", "1: a sample for each pixel; 4: smooth edges, if not given"},
    {"turntable", "N", "N pictures from all around; OUT holds %d or %03d for their numbers,\nor --sheet takes them"},
    {"sheet", "COLUMNSxROWS", "one picture of several models, or of a turntable; --size is that of\neach"},
    {"threads", "N", "at most; if not given, one for each processor"},
    {"max-seconds", "S", "gives up when it has used that much processor time"},
    {"force", nullptr, "replaces files that are there"},
};

struct Size {
    int width, height;
};

struct Settings {
    Size size = {800, 600};
    Size sheet = {0, 0};  // columns and rows; 0: none
    int frames = 0;       // of the turntable; 0: none
    double zoom = 1;
    Camera camera = {};
    Look look = {};
    SurfaceOptions surface = {};
    bool replace = false;
};

// ---- Options ------------------------------------------------------------------------------------------------------

// "AxB", and "A" for both where `single` says so.
Size sizeOf(const GivenOption& option, int most, bool single) {
    const char* const end = option.value + std::strlen(option.value);
    Size size = {0, 0};
    auto [at, error] = std::from_chars(option.value, end, size.width);
    bool read = error == std::errc();
    if (read && single && at == end)
        size.height = size.width;
    else
        read = read && *at == 'x' && std::from_chars(at + 1, end, size.height).ptr == end;
    if (!read || size.width < 1 || size.height < 1 || size.width > most || size.height > most)
        refuse("--%s takes two numbers from 1 to %d with an x between them, not \"%s\"",
               std::string(option.name).c_str(), most, printable(option.value).c_str());
    return size;
}

bool readColour(std::string_view text, Colour& colour) {
    constexpr std::size_t DIGITS = 6;
    if (!text.empty() && text.front() == '#') text.remove_prefix(1);
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (text.size() != DIGITS || error != std::errc() || end != text.data() + text.size()) return false;
    const auto part = [value](unsigned shift) { return lightOf(static_cast<std::uint8_t>(value >> shift & 255)); };
    colour = {part(16), part(8), part(0)};
    return true;
}

void setBackground(const GivenOption& option, Look& look) {
    const std::string_view value = option.value;
    look.clear = value == "transparent";
    if (look.clear) return;
    const std::size_t comma = value.find(',');
    const bool read = readColour(value.substr(0, comma), look.top) &&
                      readColour(comma == std::string_view::npos ? value : value.substr(comma + 1), look.bottom);
    if (!read)
        refuse("--background takes RRGGBB, RRGGBB,RRGGBB or transparent, not \"%s\"", printable(value).c_str());
}

Settings settingsOf(const CommandLine& line) {
    constexpr double TURN = 360, ABOVE = 90, MOST_ZOOM = 64, MOST_STROKE = 100, MOST_THREADS = 1024;
    Settings settings;
    readColour("fbfbfa", settings.look.top);
    readColour("ccd3da", settings.look.bottom);
    Camera& camera = settings.camera;
    camera.azimuth = numberOf(line, "azimuth", -TURN, TURN, camera.azimuth);
    camera.elevation = numberOf(line, "elevation", -ABOVE, ABOVE, camera.elevation);
    camera.roll = numberOf(line, "roll", -TURN, TURN, camera.roll);
    camera.fieldOfView = numberOf(line, "fov", 0, MOST_FIELD_OF_VIEW, camera.fieldOfView);
    settings.zoom = numberOf(line, "zoom", 0.01, MOST_ZOOM, 1);
    settings.surface.smoothAngle = numberOf(line, "smooth", 0, 180, -1);
    settings.surface.textures = valueOf(line, "no-textures") == nullptr;
    Look& look = settings.look;
    look.edges = valueOf(line, "edges") != nullptr;
    look.wireframe = valueOf(line, "wireframe") != nullptr;
    look.pointSize = numberOf(line, "point-size", 0.5, MOST_STROKE, 4);
    look.lineWidth = numberOf(line, "line-width", 0.5, MOST_STROKE, look.lineWidth);
    look.smoothEdges = numberOf(line, "samples", 1, LANES, LANES) > 1;
    look.threads = threadCount(static_cast<unsigned>(numberOf(line, "threads", 1, MOST_THREADS, 0)));
    settings.surface.threads = look.threads;
    settings.frames = static_cast<int>(numberOf(line, "turntable", 1, MOST_FRAMES, 0));
    settings.replace = valueOf(line, "force") != nullptr;
    for (const GivenOption& option : line.options) {
        if (option.name == "size") settings.size = sizeOf(option, MOST_PIXELS, true);
        if (option.name == "sheet") settings.sheet = sizeOf(option, MOST_PIXELS, false);
        if (option.name == "up") camera.up = static_cast<UpAxis>(choiceOf(option, UP_AXES));
        if (option.name == "background") setBackground(option, look);
    }
    return settings;
}

// ---- Time ---------------------------------------------------------------------------------------------------------

void giveUp(int) {
    constexpr char TEXT[] = "ryl-obj: the picture takes more processor time than --max-seconds allows\n";
    static_cast<void>(!write(STDERR_FILENO, TEXT, sizeof TEXT - 1));
    _exit(UNUSABLE);
}

// Counts the time of all threads. 0 ends the counting.
void limitTime(double seconds) {
    constexpr double MICROSECONDS = 1e6;
    std::signal(SIGPROF, giveUp);
    itimerval timer = {};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    timer.it_value.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * MICROSECONDS);
    setitimer(ITIMER_PROF, &timer, nullptr);
}

// ---- Pictures -----------------------------------------------------------------------------------------------------

Camera cameraOf(const Settings& settings, int frame) {
    Camera camera = settings.camera;
    if (settings.frames > 0) camera.azimuth += 360.0 * frame / settings.frames;
    return camera;
}

// All pictures of a turntable have one scale.
Extent extentOfAll(const Surface& surface, const Settings& settings) {
    Extent whole;
    for (int frame = 0; frame < std::max(1, settings.frames); ++frame) {
        const Extent one =
            extentOf(surface, projectionOf(cameraOf(settings, frame), surface.sphere), settings.look.threads);
        if (one.left > one.right) break;
        include(whole, one.left, one.bottom);
        include(whole, one.right, one.top);
    }
    return whole;
}

Image emptyImage(int width, int height) {
    Image image = {width, height};
    image.pixels.resize(4 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    return image;
}

class Painter {
public:
    explicit Painter(const Settings& settings) : settings(settings) {}

    bool meet(const char* path) {
        subject.reset();
        subject = readSubject(path, settings.surface);
        if (subject) extent = extentOfAll(subject->surface, settings);
        return subject != nullptr;
    }

    void paint(int frame, Image& image) {
        Projection projection = projectionOf(cameraOf(settings, frame), subject->surface.sphere);
        fit(projection, extent, image.width, image.height, settings.zoom);
        render(subject->surface, projection, settings.look, scratch, image);
    }

private:
    const Settings& settings;
    std::unique_ptr<Subject> subject = nullptr;
    Extent extent = {};
    Scratch scratch = {};
};

bool writePicture(const Image& image, const std::string& target, const Settings& settings) {
    WorkFolder work(target.c_str());
    const std::string path = work.pathFor(target);
    std::FILE* file = std::fopen(path.c_str(), "wbe");
    bool written = file != nullptr && writePng(file, image, settings.look.clear);
    if (file != nullptr) written = std::fclose(file) == 0 && written;
    if (!written) {
        report(target, 0, std::strerror(errno));
        return false;
    }
    return work.publish(target, settings.replace);
}

void putTile(const Image& tile, Image& sheet, int left, int upper) {
    const std::size_t bytes = 4 * static_cast<std::size_t>(tile.width);
    for (int y = 0; y < tile.height; ++y)
        std::memcpy(pixelAt(sheet, left, upper + y), &tile.pixels[static_cast<std::size_t>(y) * bytes], bytes);
}

// The background where the sheet has no model.
void paintNothing(const Settings& settings, Image& tile) {
    const GLMmodel none = {};
    Scratch scratch;
    render(makeSurface(none, nullptr, {}), projectionOf({}, {}), settings.look, scratch, tile);
}

int paintSheet(const CommandLine& line, const Settings& settings) {
    const int places = settings.sheet.width * settings.sheet.height;
    const auto models = static_cast<int>(line.operands.size()) - 1;
    const int tiles = settings.frames > 0 ? settings.frames : models;
    if (tiles > places) refuse("--sheet has %d places for %d pictures", places, tiles);
    if (settings.frames > 0 && models > 1) refuse("--turntable takes one model");
    Image sheet =
        emptyImage(settings.size.width * settings.sheet.width, settings.size.height * settings.sheet.height);
    Image tile = emptyImage(settings.size.width, settings.size.height);
    Painter painter(settings);
    int status = FINE;
    for (int i = 0; i < places; ++i) {
        const bool reads = i < models;
        const bool there = reads ? painter.meet(line.operands[static_cast<std::size_t>(i)]) : i < tiles;
        if (reads && !there) status = UNUSABLE;
        if (there && i < tiles)
            painter.paint(settings.frames > 0 ? i : 0, tile);
        else
            paintNothing(settings, tile);
        putTile(tile, sheet, i % settings.sheet.width * tile.width, i / settings.sheet.width * tile.height);
        showProgress("drawing", static_cast<float>(i + 1) / static_cast<float>(places));
    }
    limitTime(0);
    return writePicture(sheet, line.operands.back(), settings) ? status : UNUSABLE;
}

// The name with the number in place of its "%d" or "%03d".
std::string frameName(std::string_view pattern, int frame) {
    const std::size_t begin = pattern.find('%');
    std::size_t end = begin == std::string_view::npos ? begin : begin + 1;
    std::size_t digits = 0;
    while (end < pattern.size() && pattern[end] >= '0' && pattern[end] <= '9' && digits < 10)
        digits = 10 * digits + static_cast<std::size_t>(pattern[end++] - '0');
    if (end >= pattern.size() || pattern[end] != 'd' || pattern.find('%', end) != std::string_view::npos)
        refuse("--turntable takes an OUT with one %%d or %%03d in it, or --sheet");
    std::string number = std::to_string(frame);
    if (number.size() < digits) number.insert(0, digits - number.size(), '0');
    return std::string(pattern.substr(0, begin)) + number + std::string(pattern.substr(end + 1));
}

int paintFrames(const CommandLine& line, const Settings& settings) {
    const char* out = line.operands.back();
    const auto nameAt = [&](int frame) { return settings.frames > 0 ? frameName(out, frame) : std::string(out); };
    const int frames = std::max(1, settings.frames);
    for (int frame = 0; frame < frames; ++frame)
        if (!mayWrite(nameAt(frame).c_str(), settings.replace)) return UNUSABLE;
    Painter painter(settings);
    if (!painter.meet(line.operands.front())) return UNUSABLE;
    Image image = emptyImage(settings.size.width, settings.size.height);
    for (int frame = 0; frame < frames; ++frame) {
        painter.paint(frame, image);
        if (frame + 1 == frames) limitTime(0);
        if (!writePicture(image, nameAt(frame), settings)) return UNUSABLE;
        if (frames > 1) showProgress("drawing", static_cast<float>(frame + 1) / static_cast<float>(frames));
    }
    return FINE;
}

int runPicture(const CommandLine& line) {
    const Settings settings = settingsOf(line);
    const bool sheet = settings.sheet.width > 0;
    if (!sheet && line.operands.size() > 2) refuse("several models need --sheet");
    if (sheet && (settings.size.width * settings.sheet.width > MOST_PIXELS ||
                  settings.size.height * settings.sheet.height > MOST_PIXELS))
        refuse("the sheet has more than %d pixels in a row or column", MOST_PIXELS);
    if (sheet && !mayWrite(line.operands.back(), settings.replace)) return UNUSABLE;
    limitTime(numberOf(line, "max-seconds", 0.01, 1e6, 0));
    return sheet ? paintSheet(line, settings) : paintFrames(line, settings);
}

}  // namespace

const Command PICTURE_COMMAND = {
    "picture",
    "IN... OUT.png",
    2,
    ANY_NUMBER,
    "draws a shaded picture of a model, without a display",
    "Points and lines are drawn too, and the positions of a file that has nothing else. Images of materials are found beside the model;\n"
    "one that is missing is a warning.",
    OPTIONS,
    runPicture};
