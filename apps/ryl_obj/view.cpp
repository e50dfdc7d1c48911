// ryl-obj view: a window in which a model is turned and looked at. It shows what `picture` draws, with a sample for
// each pixel while something moves and four when it has come to rest.
#include "camera.h"
#include "command.h"
#include "image.h"
#include "panel.h"
#include "parallel.h"
#include "render.h"
#include "subject.h"
#include "watch.h"

#include <GL/freeglut.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr Option OPTIONS[] = {
    {"size", "WxH", "of the window, pixels; what fits the screen if not given"},
    {"up", "AXIS", "what points up: x, y, z, -x, -y or -z; y if not given"},
    {"smooth", "DEGREES", "as for picture"},
    {"turn", nullptr, "turns the model by itself, as the space bar does"},
    {"seconds", "S", "ends after S seconds, and prints how many frames it has drawn"},
    {"threads", "N", "at most; if not given, one for each processor"},
};
constexpr const char* UP_AXES[] = {"x", "y", "z", "-x", "-y", "-z"};  // in the order of UpAxis
constexpr int AXES = 6;

const std::vector<std::string> HELP = {
    "left button, arrows\tturn",
    "right button, Shift + arrows\tmove",
    "wheel, + and -\tzoom",
    "sideways wheel\tturn",
    "double click, Home\tas at the beginning",
    "space\tturn by itself, stop",
    "",
    "w\twireframe",
    "e\tedges",
    "n\tnormals",
    "t\ttextures",
    "p\tperspective",
    "u\tnext axis up",
    "b\tbackground",
    "",
    "[ and ]\tchoose a group",
    "g\thide or show it",
    "a\tshow all groups",
    "",
    "Page Up, Page Down\tother models of the folder",
    "s\tsave a screenshot",
    "F5\tread again",
    "f, F11\tfull screen",
    "F1, h\tthis help",
    "Escape, q\tend",
};

using Clock = std::chrono::steady_clock;

constexpr int TICK_MS = 200;      // between looks at the folder
constexpr int REST_MS = 160;      // after the last movement
constexpr int MESSAGE_MS = 4000;  // that a message stays
constexpr double SLOW = 0.055,
                 QUICK = 0.014;  // seconds a frame, above and below which the picture gets coarser, finer
constexpr double LEAST_ZOOM = 0.05, MOST_ZOOM = 64;
constexpr double DEGREES_PER_WINDOW = 300;  // that dragging across the window turns
constexpr double STEP_DEGREES = 5, STEP_ZOOM = 1.15, STEP_PART = 0.05;
constexpr double TURN_PER_SECOND = 40;  // degrees
constexpr double NORMAL_LENGTH = 0.05;  // radii

struct Background {
    Colour top, bottom;
};
constexpr Background BACKGROUNDS[] = {{{0.965f, 0.965f, 0.956f}, {0.604f, 0.651f, 0.701f}},
                                      {{0.08f, 0.09f, 0.11f}, {0.02f, 0.02f, 0.03f}},
                                      {{1, 1, 1}, {1, 1, 1}}};
constexpr int BACKGROUND_COUNT = 3;

struct Group {
    std::string name;
    bool hidden = false;
};

struct Viewer {
    // The model.
    std::string path;
    SurfaceOptions making;
    std::unique_ptr<Subject> subject = nullptr;
    std::vector<Group> groups = {};  // as in the file
    std::vector<bool> hidden = {};   // by triangle
    std::vector<bool> hiddenGroups = {};
    int chosen = -1;  // group
    FolderWatch watch = {};
    bool changed = false;  // the file, since it was read
    // How it is looked at.
    Camera camera = {};
    double zoom = 1, panX = 0, panY = 0;  // parts of the window's smaller side
    Look look = {};
    int background = 0;
    bool perspective = true, turning = false, help = false, full = false;
    // The window.
    int width = 0, height = 0;
    int button = -1, mouseX = 0, mouseY = 0;
    Clock::time_point lastClick = {}, lastMove = {}, messageUntil = {}, lastFrame = {};
    std::string message = {};
    // The picture.
    Image image = {};
    Scratch scratch = {};
    int coarse = 1;     // pixels of the window for one of the picture, while something moves
    bool fine = false;  // the picture on the window has smooth edges
    bool stale = true;  // it shows something else than it should
    unsigned texture = 0;
    long frames = 0;
    Clock::time_point start = {}, end = {};
    bool timed = false, ending = false;
};

Viewer* viewer = nullptr;

double secondsSince(Clock::time_point time) { return std::chrono::duration<double>(Clock::now() - time).count(); }

// ---- The model ----------------------------------------------------------------------------------------------------

void listGroups(Viewer& v) {
    std::vector<std::string> wereHidden;
    for (const Group& group : v.groups)
        if (group.hidden) wereHidden.push_back(group.name);
    v.groups.clear();
    for (const GLMgroup* group = v.subject->model.model->groups; group != nullptr; group = group->next)
        v.groups.insert(v.groups.begin(), {group->name, std::find(wereHidden.begin(), wereHidden.end(),
                                                                  group->name) != wereHidden.end()});
    v.chosen = std::min(v.chosen, static_cast<int>(v.groups.size()) - 1);
}

void hideGroups(Viewer& v) {
    const GLMmodel& model = *v.subject->model.model;
    v.hidden.assign(model.numtriangles, false);
    std::size_t number = v.groups.size();
    for (const GLMgroup* group = model.groups; group != nullptr; group = group->next)
        if (v.groups[--number].hidden)
            for (std::uint32_t i = 0; i < group->numtriangles; ++i) v.hidden[group->triangles[i]] = true;
    const GLMextras* extras = v.subject->model.extras.get();
    v.hiddenGroups.assign(extras != nullptr ? extras->numgroups : 0, false);
    for (std::uint32_t i = 0; i < v.hiddenGroups.size(); ++i)
        for (const Group& group : v.groups)
            if (group.hidden && group.name == extras->groupnames[i]) v.hiddenGroups[i] = true;
    v.look.hidden = &v.hidden;
    v.look.hiddenGroups = &v.hiddenGroups;
    v.stale = true;
}

fs::path folderOf(const std::string& path) { return fs::path(path).parent_path(); }
std::string fileNameOf(const std::string& path) { return fs::path(path).filename().string(); }

// Files that are a part of the model.
std::vector<std::string> partsOf(const Viewer& v) {
    std::vector<std::string> names = {fileNameOf(v.path)};
    if (v.subject == nullptr) return names;
    const GLMmodel& model = *v.subject->model.model;
    const GLMextras* extras = v.subject->model.extras.get();
    if (model.mtllibname != nullptr) names.push_back(fileNameOf(model.mtllibname));
    for (std::uint32_t i = 0; extras != nullptr && i < extras->numlibraries; ++i)
        names.push_back(fileNameOf(extras->libraries[i]));
    for (std::uint32_t i = 0; i < model.numtextures; ++i) names.push_back(fileNameOf(model.textures[i].name));
    return names;
}

void say(Viewer& v, const std::string& text) {
    v.message = text;
    v.messageUntil = Clock::now() + std::chrono::milliseconds(MESSAGE_MS);
    glutPostRedisplay();
}

void showSubject(Viewer& v, std::unique_ptr<Subject> subject) {
    v.subject = std::move(subject);
    listGroups(v);
    hideGroups(v);
    v.watch.watch(folderOf(v.path).string());
    glutSetWindowTitle(std::strcmp(v.path.c_str(), "-") == 0 ? "standard input" : fileNameOf(v.path).c_str());
    glutPostRedisplay();
}

// Keeps what is shown where the file cannot be read.
bool readAgain(Viewer& v, const std::string& path) {
    GLMerror error{};
    std::unique_ptr<Subject> subject = readSubject(path.c_str(), v.making, &error);
    if (subject == nullptr) {
        report(error.file, error.line, error.text);
        say(v, fileNameOf(error.file) + ":" + std::to_string(error.line) + ": " + error.text);
        return false;
    }
    v.path = path;
    showSubject(v, std::move(subject));
    return true;
}

void resetView(Viewer& v) {
    const UpAxis up = v.camera.up;
    v.camera = {};
    v.camera.up = up;
    if (!v.perspective) v.camera.fieldOfView = 0;
    v.zoom = 1;
    v.panX = v.panY = 0;
}

bool isModel(const fs::path& path) {
    std::string ending = path.extension().string();
    for (char& c : ending) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ending == ".obj";
}

// The next models of the folder, forwards or backwards, up to one that can be read.
void goToNext(Viewer& v, int step) {
    std::vector<std::string> models;
    std::error_code error;
    const fs::path folder = folderOf(v.path);
    for (fs::directory_iterator at(folder.empty() ? "." : folder, error), end; !error && at != end;
         at.increment(error))
        if (isModel(at->path())) models.push_back(fileNameOf(at->path().string()));
    std::sort(models.begin(), models.end());
    const auto count = static_cast<std::ptrdiff_t>(models.size());
    std::ptrdiff_t at = std::find(models.begin(), models.end(), fileNameOf(v.path)) - models.begin();
    for (std::ptrdiff_t i = 1; i < count; ++i) {
        at = (at + step + count) % count;
        if (!readAgain(v, (folder / models[static_cast<std::size_t>(at)]).string())) continue;
        resetView(v);
        return;
    }
    say(v, "there is no other model in this folder");
}

// ---- The picture --------------------------------------------------------------------------------------------------

bool isMoving(const Viewer& v) { return v.turning || secondsSince(v.lastMove) * 1000 < REST_MS; }

void drawPicture(Viewer& v, bool fine, int coarse, int width, int height, Image& image) {
    image.width = std::max(1, width / coarse);
    image.height = std::max(1, height / coarse);
    image.pixels.resize(4 * static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    Projection projection = projectionOf(v.camera, v.subject->surface.sphere);
    fit(projection, sphereExtent(projection), image.width, image.height, v.zoom);
    const int side = std::min(image.width, image.height);
    projection.offsetX += v.panX * side;
    projection.offsetY += v.panY * side;
    constexpr double LEAST_POINT = 3, POINT_PART = 1.0 / 200, LEAST_LINE = 1.5, LINE_PART = 1.0 / 500;
    v.look.pointSize = std::max(LEAST_POINT, POINT_PART * height) / coarse;
    v.look.lineWidth = std::max(LEAST_LINE, LINE_PART * height) / coarse;
    v.look.smoothEdges = fine;
    v.look.top = BACKGROUNDS[v.background].top;
    v.look.bottom = BACKGROUNDS[v.background].bottom;
    render(v.subject->surface, projection, v.look, v.scratch, image);
}

// Windows that the renderer cannot fill at once get a coarser picture while something moves.
void adapt(Viewer& v, double seconds) {
    constexpr int COARSEST = 4;
    if (seconds > SLOW && v.coarse < COARSEST) v.coarse *= 2;
    if (seconds < QUICK && v.coarse > 1) v.coarse /= 2;
}

void updatePicture(Viewer& v) {
    const bool moving = isMoving(v);
    if (!v.stale && (v.fine || moving)) return;
    const Clock::time_point start = Clock::now();
    drawPicture(v, !moving, moving ? v.coarse : 1, v.width, v.height, v.image);
    if (moving) adapt(v, secondsSince(start));
    v.fine = !moving;
    v.stale = false;
    ++v.frames;
    glBindTexture(GL_TEXTURE_2D, v.texture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, v.image.width, v.image.height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 v.image.pixels.data());
}

void drawImage(const Viewer& v) {
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, v.texture);
    glColor4d(1, 1, 1, 1);
    glBegin(GL_QUADS);
    for (const auto& corner : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}}) {
        glTexCoord2i(corner.first, 1 - corner.second);
        glVertex2i(corner.first * v.width, corner.second * v.height);
    }
    glEnd();
    glDisable(GL_TEXTURE_2D);
}

std::vector<std::string> groupLines(const Viewer& v) {
    constexpr int MOST_LINES = 16;
    std::vector<std::string> lines;
    const int count = static_cast<int>(v.groups.size()),
              first = std::clamp(v.chosen - MOST_LINES / 2, 0, std::max(0, count - MOST_LINES));
    for (int i = first; i < std::min(count, first + MOST_LINES); ++i) {
        const Group& group = v.groups[static_cast<std::size_t>(i)];
        lines.push_back(std::string(i == v.chosen ? "> " : "   ") + group.name + "\t" +
                        (group.hidden ? "hidden" : "shown"));
    }
    return lines;
}

void drawTexts(const Viewer& v) {
    if (v.help)
        drawPanel(HELP, PanelPlace::middle, v.width, v.height);
    else if (Clock::now() < v.messageUntil)
        drawPanel({v.message}, PanelPlace::corner, v.width, v.height);
    else if (v.chosen >= 0)
        drawPanel(groupLines(v), PanelPlace::corner, v.width, v.height);
}

void show() {
    Viewer& v = *viewer;
    if (v.turning) {
        const double seconds = std::min(0.1, secondsSince(v.lastFrame));
        v.camera.azimuth = std::fmod(v.camera.azimuth - seconds * TURN_PER_SECOND, 360);
        v.lastFrame = Clock::now();
        v.stale = true;
    }
    updatePicture(v);
    glViewport(0, 0, v.width, v.height);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, v.width, 0, v.height, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    drawImage(v);
    drawTexts(v);
    glutSwapBuffers();
    if (v.turning) glutPostRedisplay();
}

// The first number that no file has yet.
void saveScreenshot(Viewer& v) {
    const std::string stem = std::strcmp(v.path.c_str(), "-") == 0 ? "model" : fs::path(v.path).stem().string();
    Image image;
    drawPicture(v, true, 1, v.width, v.height, image);
    constexpr int MOST = 10000;
    for (int i = 1; i < MOST; ++i) {
        const std::string name = stem + "-" + std::to_string(i) + ".png";
        const int opened = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (opened < 0 && errno == EEXIST) continue;
        std::FILE* file = opened >= 0 ? fdopen(opened, "wb") : nullptr;
        bool written = file != nullptr && writePng(file, image, false);
        const int reason = errno;
        if (file != nullptr) written = std::fclose(file) == 0 && written;
        if (!written && opened >= 0) unlink(name.c_str());
        return say(v, written ? "saved " + name : name + ": " + std::strerror(reason));
    }
}

// Nothing is left to be done by handlers of exit: that of GLUT would take the time to close the GL's driver.
[[noreturn]] void end(Viewer& v) {
    v.ending = true;
    if (v.timed) {
        const double seconds = secondsSince(v.start);
        std::printf("%ld frames in %.2f s, %.1f a second\n", v.frames, seconds,
                    static_cast<double>(v.frames) / seconds);
    }
    std::_Exit(std::fflush(stdout) == 0 ? FINE : UNUSABLE);
}

// ---- Events -------------------------------------------------------------------------------------------------------

// Draws with one sample until nothing has moved for a while.
void move(Viewer& v) {
    v.lastMove = Clock::now();
    v.stale = true;
    glutPostRedisplay();
    glutTimerFunc(
        REST_MS + 10,
        [](int) {
            if (!viewer->fine && !isMoving(*viewer)) glutPostRedisplay();
        },
        0);
}

void change(Viewer& v) {
    v.stale = true;
    glutPostRedisplay();
}

void turn(Viewer& v, double azimuth, double elevation) {
    v.camera.azimuth = std::fmod(v.camera.azimuth + azimuth, 360);
    v.camera.elevation = std::clamp(v.camera.elevation + elevation, -90.0, 90.0);
    move(v);
}

void pan(Viewer& v, double x, double y) {
    constexpr double FARTHEST = 64;
    v.panX = std::clamp(v.panX + x, -FARTHEST, FARTHEST);
    v.panY = std::clamp(v.panY + y, -FARTHEST, FARTHEST);
    move(v);
}

// The point at (x, y), pixels of the window, stays where it is.
void zoom(Viewer& v, double factor, int x, int y) {
    const double to = std::clamp(v.zoom * factor, LEAST_ZOOM, MOST_ZOOM), ratio = to / v.zoom;
    const double side = std::min(v.width, v.height);
    const double atX = (x - v.width / 2.0) / side, atY = (y - v.height / 2.0) / side;
    v.zoom = to;
    v.panX = atX - (atX - v.panX) * ratio;
    v.panY = atY - (atY - v.panY) * ratio;
    pan(v, 0, 0);
}

void reshape(int width, int height) {
    viewer->width = std::max(1, width);
    viewer->height = std::max(1, height);
    move(*viewer);
}

// Wheels are buttons: 3 and 4 up and down, 5 and 6 to the sides.
void pressButton(int button, int state, int x, int y) {
    constexpr int UP = 3, DOWN = 4, LEFT = 5, RIGHT = 6;
    constexpr double DOUBLE_CLICK = 0.3;
    Viewer& v = *viewer;
    if (state != GLUT_DOWN) {
        if (button == v.button) v.button = -1;
        return;
    }
    if (button == UP) return zoom(v, STEP_ZOOM, x, y);
    if (button == DOWN) return zoom(v, 1 / STEP_ZOOM, x, y);
    if (button == LEFT) return turn(v, -STEP_DEGREES, 0);
    if (button == RIGHT) return turn(v, STEP_DEGREES, 0);
    const bool shift = (glutGetModifiers() & GLUT_ACTIVE_SHIFT) != 0;
    v.button = shift ? GLUT_RIGHT_BUTTON : button;
    v.mouseX = x;
    v.mouseY = y;
    if (button != GLUT_LEFT_BUTTON) return;
    if (secondsSince(v.lastClick) < DOUBLE_CLICK) {
        resetView(v);
        move(v);
    }
    v.lastClick = Clock::now();
}

void drag(int x, int y) {
    Viewer& v = *viewer;
    const double side = std::min(v.width, v.height), right = (x - v.mouseX) / side, down = (y - v.mouseY) / side;
    v.mouseX = x;
    v.mouseY = y;
    if (v.button < 0) return;
    if (v.button == GLUT_LEFT_BUTTON)
        turn(v, -right * DEGREES_PER_WINDOW, down * DEGREES_PER_WINDOW);
    else
        pan(v, right, down);
}

void chooseGroup(Viewer& v, int step) {
    const int count = static_cast<int>(v.groups.size());
    if (count > 0) v.chosen = v.chosen < 0 ? (step > 0 ? 0 : count - 1) : (v.chosen + step + count) % count;
    v.messageUntil = {};
    glutPostRedisplay();
}

void setHidden(Viewer& v, bool all) {
    if (all)
        for (Group& group : v.groups) group.hidden = false;
    else if (v.chosen >= 0)
        v.groups[static_cast<std::size_t>(v.chosen)].hidden ^= true;
    if (all) v.chosen = -1;
    hideGroups(v);
    change(v);
}

// Switches of the surface: it is made again.
void switchTextures(Viewer& v) {
    v.making.textures = !v.making.textures;
    readAgain(v, v.path);
}

struct Key {
    const char* characters;
    void (*act)(Viewer&);
};
const Key KEYS[] = {
    {"w",
     [](Viewer& v) {
         v.look.wireframe = !v.look.wireframe;
         change(v);
     }},
    {"e",
     [](Viewer& v) {
         v.look.edges = !v.look.edges;
         change(v);
     }},
    {"n",
     [](Viewer& v) {
         v.look.normals = v.look.normals > 0 ? 0 : NORMAL_LENGTH;
         change(v);
     }},
    {"t", switchTextures},
    {"p",
     [](Viewer& v) {
         v.perspective = !v.perspective;
         v.camera.fieldOfView = v.perspective ? Camera{}.fieldOfView : 0;
         change(v);
     }},
    {"u",
     [](Viewer& v) {
         v.camera.up = static_cast<UpAxis>((static_cast<int>(v.camera.up) + 1) % AXES);
         change(v);
     }},
    {"b",
     [](Viewer& v) {
         v.background = (v.background + 1) % BACKGROUND_COUNT;
         change(v);
     }},
    {"[", [](Viewer& v) { chooseGroup(v, -1); }},
    {"]", [](Viewer& v) { chooseGroup(v, 1); }},
    {"g", [](Viewer& v) { setHidden(v, false); }},
    {"a", [](Viewer& v) { setHidden(v, true); }},
    {"s", saveScreenshot},
    {"h",
     [](Viewer& v) {
         v.help = !v.help;
         glutPostRedisplay();
     }},
    {"f", [](Viewer&) { glutFullScreenToggle(); }},
    {"+=", [](Viewer& v) { zoom(v, STEP_ZOOM, v.width / 2, v.height / 2); }},
    {"-", [](Viewer& v) { zoom(v, 1 / STEP_ZOOM, v.width / 2, v.height / 2); }},
    {" ",
     [](Viewer& v) {
         v.turning = !v.turning;
         v.lastFrame = Clock::now();
         move(v);
     }},
    {"q\x1b", end},
};

void pressKey(unsigned char key, int, int) {
    for (const Key& known : KEYS)
        if (key != '\0' && std::strchr(known.characters, std::tolower(key)) != nullptr) known.act(*viewer);
}

void pressArrow(Viewer& v, int right, int up) {
    if ((glutGetModifiers() & GLUT_ACTIVE_SHIFT) != 0)
        pan(v, right * STEP_PART, -up * STEP_PART);
    else
        turn(v, right * STEP_DEGREES, up * STEP_DEGREES);
}

struct SpecialKey {
    int key;
    void (*act)(Viewer&);
};
const SpecialKey SPECIAL_KEYS[] = {
    {GLUT_KEY_LEFT, [](Viewer& v) { pressArrow(v, -1, 0); }},
    {GLUT_KEY_RIGHT, [](Viewer& v) { pressArrow(v, 1, 0); }},
    {GLUT_KEY_UP, [](Viewer& v) { pressArrow(v, 0, 1); }},
    {GLUT_KEY_DOWN, [](Viewer& v) { pressArrow(v, 0, -1); }},
    {GLUT_KEY_HOME,
     [](Viewer& v) {
         resetView(v);
         change(v);
     }},
    {GLUT_KEY_PAGE_UP, [](Viewer& v) { goToNext(v, -1); }},
    {GLUT_KEY_PAGE_DOWN, [](Viewer& v) { goToNext(v, 1); }},
    {GLUT_KEY_F1,
     [](Viewer& v) {
         v.help = !v.help;
         glutPostRedisplay();
     }},
    {GLUT_KEY_F5, [](Viewer& v) { readAgain(v, v.path); }},
    {GLUT_KEY_F11, [](Viewer&) { glutFullScreenToggle(); }},
};

void pressSpecialKey(int key, int, int) {
    for (const SpecialKey& known : SPECIAL_KEYS)
        if (known.key == key) known.act(*viewer);
}

// Reads the model again when its files have been still for a tick after a change; takes old messages away.
void tick(int) {
    Viewer& v = *viewer;
    const bool now = v.watch.hasChanged(partsOf(v));
    if (v.changed && !now) readAgain(v, v.path);
    v.changed = now;
    if (!v.message.empty() && Clock::now() >= v.messageUntil) {
        v.message.clear();
        glutPostRedisplay();
    }
    if (v.timed && Clock::now() >= v.end) end(v);
    glutTimerFunc(TICK_MS, tick, 0);
}

// ---- The window ---------------------------------------------------------------------------------------------------

// freeglut's messages; it goes on where this returns.
void endByGlut(const char* format, va_list arguments) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    report("", 0, text);
    std::_Exit(UNUSABLE);
}
void ignoreGlut(const char*, va_list) {}

// As large as a picture is on paper, whatever the screen's dots, and not larger than most of the screen.
void chooseSize(int& width, int& height) {
    constexpr double WIDE = 1024, HIGH = 768, MOST = 0.85, MM_PER_INCH = 25.4, USUAL_DPI = 96;
    const double screenWidth = glutGet(GLUT_SCREEN_WIDTH), screenHeight = glutGet(GLUT_SCREEN_HEIGHT);
    const int millimetres = glutGet(GLUT_SCREEN_WIDTH_MM);
    const double dpi = millimetres > 0 ? screenWidth / millimetres * MM_PER_INCH : USUAL_DPI;
    const double scale = std::clamp(dpi / USUAL_DPI, 1.0, 3.0);
    const double part = std::min({scale, MOST * screenWidth / WIDE, MOST * screenHeight / HIGH});
    width = static_cast<int>(WIDE * part);
    height = static_cast<int>(HIGH * part);
}

void openWindow(const char* title, int width, int height) {
    glutInitErrorFunc(endByGlut);
    glutInitWarningFunc(ignoreGlut);
    std::string name = "ryl-obj";
    char* arguments[] = {name.data(), nullptr};
    int count = 1;
    glutInit(&count, arguments);
    glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE);
    if (width == 0) chooseSize(width, height);
    glutInitWindowSize(width, height);
    glutCreateWindow(title);
    glutDisplayFunc(show);
    glutReshapeFunc(reshape);
    glutMouseFunc(pressButton);
    glutMotionFunc(drag);
    glutCloseFunc([] {
        if (!viewer->ending) end(*viewer);
    });
    glutKeyboardFunc(pressKey);
    glutSpecialFunc(pressSpecialKey);
}

void makeTexture(Viewer& v) {
    glGenTextures(1, &v.texture);
    glBindTexture(GL_TEXTURE_2D, v.texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

// Puts the options into the viewer; returns the size of the window, {0, 0} without --size.
std::pair<int, int> takeOptions(const CommandLine& line, Viewer& v) {
    constexpr double MOST_SIDE = 16384, MOST_THREADS = 1024;
    v.path = line.operands.front();
    v.look.threads = threadCount(static_cast<unsigned>(numberOf(line, "threads", 1, MOST_THREADS, 0)));
    v.making.threads = v.look.threads;
    v.making.smoothAngle = numberOf(line, "smooth", 0, 180, -1);
    v.turning = valueOf(line, "turn") != nullptr;
    v.timed = valueOf(line, "seconds") != nullptr;
    int width = 0, height = 0;
    for (const GivenOption& option : line.options) {
        if (option.name == "up") v.camera.up = static_cast<UpAxis>(choiceOf(option, UP_AXES));
        if (option.name == "size" && (std::sscanf(option.value, "%dx%d", &width, &height) != 2 || width < 2 ||
                                      height < 2 || width > MOST_SIDE || height > MOST_SIDE))
            refuse("--size takes two numbers with an x between them, not \"%s\"", printable(option.value).c_str());
    }
    return {width, height};
}

int runView(const CommandLine& line) {
    constexpr double MOST_SECONDS = 1e6;
    static Viewer v;  // for GLUT's callbacks
    const auto [width, height] = takeOptions(line, v);
    viewer = &v;
    // The model is read while the window opens.
    std::future<std::unique_ptr<Subject>> reading =
        std::async(std::launch::async, [] { return readSubject(v.path.c_str(), v.making); });
    openWindow(fileNameOf(v.path).c_str(), width, height);
    makeTexture(v);
    std::unique_ptr<Subject> subject = reading.get();
    if (subject == nullptr) return UNUSABLE;
    showSubject(v, std::move(subject));
    v.start = v.lastFrame = Clock::now();
    v.end = v.start +
            std::chrono::milliseconds(static_cast<long>(1000 * numberOf(line, "seconds", 0.1, MOST_SECONDS, 1)));
    glutTimerFunc(TICK_MS, tick, 0);
    glutMainLoop();
    return FINE;
}

}  // namespace

const Command VIEW_COMMAND = {"view",
                              "FILE",
                              1,
                              1,
                              "shows a model in a window",
                              "Mouse: left button turns, right button moves, the wheel zooms. F1 lists the keys.",
                              OPTIONS,
                              runView};
