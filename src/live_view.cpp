#include "live_view.h"

#include "live.h"
#include "ryl.h"
#include "timeline.h"

#include <GL/freeglut.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace {

// ---- Errors on the screen -----------------------------------------------------------------------------------------

constexpr int LETTER_WIDTH = 9, LINE_HEIGHT = 17, BASELINE = 13, MARGIN = 8;  // pixels; of GLUT's font
constexpr std::size_t MOST_LINES = 12;

int programWindow = 0, errorWindow = 0;  // GLUT's numbers; 0 before they are known
std::string shownErrors;
int shownWidth = 0;  // of the program's window

// What is shown, in lines that fit into a window of this width; at most MOST_LINES.
std::vector<std::string> shownLines(int width) {
    const auto columns = static_cast<std::size_t>(std::max(1, (width - 2 * MARGIN) / LETTER_WIDTH));
    std::istringstream errors(shownErrors);
    std::vector<std::string> lines;
    for (std::string line; std::getline(errors, line);)
        for (std::size_t at = 0; at == 0 || at < line.size(); at += columns)
            lines.push_back(line.substr(at, columns));
    lines.resize(std::min(lines.size(), MOST_LINES));
    return lines;
}

void drawErrors() {
    glClearColor(0.4f, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    const int right = glutGet(GLUT_WINDOW_WIDTH), bottom = glutGet(GLUT_WINDOW_HEIGHT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, right, bottom, 0, -1, 1);
    glColor3f(1, 1, 1);
    int y = MARGIN + BASELINE;
    for (const std::string& line : shownLines(right)) {
        glRasterPos2i(MARGIN, y);
        glutBitmapString(GLUT_BITMAP_9_BY_15, reinterpret_cast<const unsigned char*>(line.c_str()));
        y += LINE_HEIGHT;
    }
    glutSwapBuffers();
}

// The pointer may be over the errors, which then get the keys.
void passKey(unsigned char key, int x, int y) {
    glutSetWindow(programWindow);
    ryl_handleKeypress(key, x, y);
}
void passSpecialKey(int key, int x, int y) {
    glutSetWindow(programWindow);
    ryl_handleSpecialKeys(key, x, y);
}

void openErrorWindow() {
    errorWindow = glutCreateSubWindow(programWindow, 0, 0, 1, 1);
    glutDisplayFunc(drawErrors);
    glutKeyboardFunc(passKey);
    glutSpecialFunc(passSpecialKey);
    glutSetCursor(GLUT_CURSOR_NONE);
}

void showErrors(const std::string& errors) {
    const int width = glutGet(GLUT_WINDOW_WIDTH);
    if (errors == shownErrors && (errors.empty() || width == shownWidth)) return;
    shownErrors = errors;
    shownWidth = width;
    const auto lines = static_cast<int>(shownLines(width).size());
    if (errorWindow == 0) openErrorWindow();
    glutSetWindow(errorWindow);
    if (errors.empty())
        glutHideWindow();
    else
        glutShowWindow();
    glutReshapeWindow(width, 2 * MARGIN + lines * LINE_HEIGHT);
    glutPostRedisplay();
    glutSetWindow(programWindow);
}

// ---- Scenes -------------------------------------------------------------------------------------------------------

constexpr int FRAME_MS = 25, MS_PER_S = 1000;
constexpr int NO_LOOP = -1;

int loopedScene = NO_LOOP;

std::span<const float> sceneLengths() {
    const auto* const end = std::find(std::begin(SCENE_TIME), std::end(SCENE_TIME), 0.0f);
    return {std::begin(SCENE_TIME), end};
}

SceneStart currentScene() { return ryl_sceneAt(sceneLengths(), static_cast<float>(ryl_getTime()) / MS_PER_S); }

// Goes to the first whole millisecond of a scene.
void jumpToScene(int scene) {
    const std::span<const float> lengths = sceneLengths();
    const auto before = static_cast<std::size_t>(std::clamp(scene, 0, static_cast<int>(lengths.size()) - 1));
    float start = 0;
    for (const float length : lengths.first(before)) start += length;
    ryl_jumpTo(before == 0 ? 0 : static_cast<int>(start * MS_PER_S) + 1);
}

void step(int ms) {
    if (ryl_Get(RYL_PAUSED) == 0) ryl_handleKeypress(' ', 0, 0);
    ryl_jumpTo(std::max(0, ryl_getTime() + ms));
}

void toggleLoop() {
    loopedScene = loopedScene == NO_LOOP ? currentScene().scene : NO_LOOP;
    if (loopedScene != NO_LOOP)
        std::printf("[*] looping scene %d\n", loopedScene);
    else
        std::puts("[*] not looping");
}

bool isShowOn() { return !sceneLengths().empty(); }

}  // namespace

void ryl_updateLive() {
    // GLUT leaves the window current that had the last event.
    if (programWindow == 0) programWindow = glutGetWindow();
    glutSetWindow(programWindow);
    ryl_reloadSaved();
    showErrors(ryl_liveErrors());
    if (loopedScene != NO_LOOP && currentScene().scene > loopedScene) jumpToScene(loopedScene);
}

void ryl_handleLiveSpecialKey(int key) {
    constexpr float JUST_BEGUN_S = 1;
    if (!isShowOn()) return;
    const bool isSceneKey =
        key == GLUT_KEY_HOME || key == GLUT_KEY_END || key == GLUT_KEY_PAGE_UP || key == GLUT_KEY_PAGE_DOWN;
    if (isSceneKey) loopedScene = NO_LOOP;
    const auto [scene, start] = currentScene();
    const bool hasJustBegun = static_cast<float>(ryl_getTime()) / MS_PER_S - start < JUST_BEGUN_S;
    if (key == GLUT_KEY_HOME) jumpToScene(0);
    if (key == GLUT_KEY_END) jumpToScene(static_cast<int>(sceneLengths().size()) - 1);
    if (key == GLUT_KEY_PAGE_UP) jumpToScene(hasJustBegun ? scene - 1 : scene);
    if (key == GLUT_KEY_PAGE_DOWN) jumpToScene(scene + 1);
}

void ryl_handleLiveKey(unsigned char key) {
    if (!isShowOn()) return;
    if (key == ',') step(-FRAME_MS);
    if (key == '.') step(FRAME_MS);
    if (key == 'l') toggleLoop();
}
