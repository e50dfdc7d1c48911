#include "ryl.h"

#include "endings.h"
#include "frame_writer.h"
#include "live.h"
#include "live_tune.h"
#include "live_view.h"
#include "options.h"
#include "ryl_sound.h"
#include "swap_interval.h"
#include "system.h"
#include "textures.h"

#include <GL/glew.h>
// GLEW before anything that includes gl.h.
#include <FTGL/ftgl.h>
#include <GL/freeglut.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

int SOUND_ON = 1;
int CAPTURE = 0;
int CAPTURE_CLEVEL = 0;
int CAPTURE_W = 0;
int CAPTURE_H = 0;
int S_SCENE = 0;
int UPRIGHT = 0;
int PICTURE_DELAY = 0;

int ryl_globalX = 0;
int ryl_globalY = 0;
unsigned SONGLENGTH = 0;
int SOUND_PAUSED = 0;
int SOUND_MUTE_PAUSE = 0;
int SOUND_MUTE_TIMER = 0;
int SOUND_MUTE_START = 0;
int CAPTURE_TIMER = 0;
int DEMO_LENGTH = 0;
float SCENE_TIME[MAX_SCENES] = {};

FMOD_SYSTEM* system0 = nullptr;
unsigned version0 = 0;
FMOD_SOUND* sound0 = nullptr;
FMOD_CHANNEL* channel0 = nullptr;

namespace {

constexpr int TICK_MS = 25;    // timer period; one step of the capture and silent clocks
constexpr int SEEK_MS = 1000;  // one press of an arrow key
constexpr char FONT_FILE[] = "tools/crounded.ttf";
constexpr unsigned FONT_RESOLUTION = 72;  // dpi: a point is a pixel, or a scene unit

enum class Mode { sound, silent, capture };

Mode mode() {
    if (CAPTURE != 0) return Mode::capture;
    return SOUND_ON != 0 ? Mode::sound : Mode::silent;
}

int firstKeptFrame = 1;    // "--from-frame"
bool workingLive = false;  // "--live", whether or not it is given

// ---- Start-up -----------------------------------------------------------------------------------------------------

std::string gameMode(const PixelSize& size) {
    constexpr char DEPTH_AND_RATE[] = ":32@75";
    return std::to_string(size.width) + "x" + std::to_string(size.height) + DEPTH_AND_RATE;
}

void takeOptions(const Options& options) {
    SOUND_ON = options.sound ? 1 : 0;
    CAPTURE = options.capture ? 1 : 0;
    CAPTURE_CLEVEL = options.level;
    CAPTURE_W = options.size.width;
    CAPTURE_H = options.size.height;
    S_SCENE = options.scene;
    UPRIGHT = options.upright ? 1 : 0;
    PICTURE_DELAY = options.delay;
    firstKeptFrame = options.fromFrame;
    ryl_startLive((options.live || workingLive) && !options.capture);
}

void printResolution(const PixelSize& asked) {
    if (asked.width != 0 && asked.height != 0)
        std::printf("[*] Resolution set to %s\n", gameMode(asked).c_str());
    else
        std::puts("[*] Resolution set to default becouse nothing else was given");
}

void takeCaptureSize(int maxSide) {
    if (mode() != Mode::capture) return;
    const PixelSize size = ryl_usableSize(SizeUse::capture, {CAPTURE_W, CAPTURE_H}, maxSide);
    CAPTURE_W = size.width;
    CAPTURE_H = size.height;
}

// The size that the window manager should give the window, and until when it may; no size if there is nothing to wait
// for.
PixelSize awaitedSize;
int awaitedUntilMs = 0;  // of GLUT's time

std::string windowTitle = "ryl-framework";

void openWindow(const PixelSize& size) {
    glutInitWindowSize(size.width, size.height);
    glutCreateWindow(windowTitle.c_str());
}

// The window opens in its final place and size, so it is right even without a window manager.
void openFullScreenWindow() {
    constexpr int PATIENCE_MS = 500;
    awaitedSize = {glutGet(GLUT_SCREEN_WIDTH), glutGet(GLUT_SCREEN_HEIGHT)};
    glutInitWindowPosition(0, 0);
    openWindow(awaitedSize);
    glutFullScreen();
    awaitedUntilMs = glutGet(GLUT_ELAPSED_TIME) + PATIENCE_MS;
}

// Many screens lack the mode that is asked for. Then a window fills the screen in its own mode.
void openFullScreen(const PixelSize& size) {
    const std::string screenMode = gameMode(size);
    glutGameModeString(screenMode.c_str());
    if (glutEnterGameMode() > 0) {
        // The viewer gets the desktop's own mode back whatever ends the program.
        std::atexit([] { glutLeaveGameMode(); });
        // Many X servers keep the screen's size and show a corner of it in a smaller mode, and GLUT's window is as
        // large as the screen.
        glutReshapeWindow(size.width, size.height);
        return;
    }
    std::printf("[/] no game mode %s on this screen, taking a full-screen window\n", screenMode.c_str());
    openFullScreenWindow();
}

void openScreen(const Options& options) {
    if (options.fullScreen)
        openFullScreen(ryl_usableSize(SizeUse::screenMode, options.size, RYL_MAX_SIDE));
    else
        openWindow(ryl_usableSize(SizeUse::window, options.size, RYL_MAX_SIDE));
}

// Ends the process if the GL lacks what would otherwise crash the demo or leave the window empty.
void requireGl() {
    const struct {
        const char* name;
        bool present;
    } needs[] = {
        {"framebuffer objects (GL_EXT_framebuffer_object)",
         GLEW_EXT_framebuffer_object && glGenFramebuffersEXT != nullptr},
        {"framebuffer objects of OpenGL 3.0 (GL_ARB_framebuffer_object)", glFramebufferRenderbuffer != nullptr},
        {"textures of any size (OpenGL 2.0)", GLEW_VERSION_2_0 || GLEW_ARB_texture_non_power_of_two},
    };
    for (const auto& [name, present] : needs) {
        if (present) continue;
        std::printf("[!] This GL has no %s.\n", name);
        std::exit(-1);
    }
}

// The GL cannot draw pictures above its own limit. The size of a full screen stays.
void fitToGl(const Options& options) {
    GLint texture = 0, renderbuffer = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &texture);
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE_EXT, &renderbuffer);
    const int maxSide = std::min({texture, renderbuffer, RYL_MAX_SIDE});
    takeCaptureSize(maxSide);
    if (mode() == Mode::capture || options.fullScreen) return;
    const PixelSize asked = {glutGet(GLUT_WINDOW_WIDTH), glutGet(GLUT_WINDOW_HEIGHT)};
    const PixelSize size = ryl_usableSize(SizeUse::window, asked, maxSide);
    if (size != asked) glutReshapeWindow(size.width, size.height);
}

// True until the window has its final size or the window manager's time is over. The content waits for it, because
// its render targets get their size when it loads.
bool isSizeAwaited() {
    if (awaitedSize == PixelSize{}) return false;
    const bool fits = awaitedSize == PixelSize{ryl_globalX, ryl_globalY};
    if (fits || mode() == Mode::capture || glutGet(GLUT_ELAPSED_TIME) > awaitedUntilMs) awaitedSize = {};
    return awaitedSize != PixelSize{};
}

// ---- The moment that is seen --------------------------------------------------------------------------------------
//
// A frame is seen later than it begins: drawing it takes time, and the swap waits for the monitor. In sound mode the
// demo time is ahead of the sound by this time.

double pictureLeadMs = 0;

// Follows the median time of frames in small steps. One slow frame moves it by one step only, so demo time never goes
// back.
void noteFrameTime(double ms) {
    constexpr double STEP_MS = 0.5, MAX_MS = 100;
    pictureLeadMs = std::min(pictureLeadMs + std::clamp(ms - pictureLeadMs, -STEP_MS, STEP_MS), MAX_MS);
}

bool isPlaying() { return mode() == Mode::sound && channel0 != nullptr && SOUND_PAUSED == 0; }

// What is heard, ms of the soundtrack; 0 before it plays.
int soundPosition() {
    unsigned position = 0;
    if (channel0 != nullptr) FMOD_Channel_GetPosition(channel0, &position, FMOD_TIMEUNIT_MS);
    return static_cast<int>(position);
}

// ---- Frames in step with ticks ------------------------------------------------------------------------------------

// Captured frames must not depend on when the window system asks for a repaint or on whether the window is visible.
// So in capture mode the content draws exactly once before the first tick and once after each tick.
void (*contentDisplay)(void) = nullptr;
bool frameDue = true;  // no frame drawn since the last tick

void displayFrame() {
    if ((mode() == Mode::capture && !frameDue) || isSizeAwaited()) return;
    frameDue = false;
    const auto begun = std::chrono::steady_clock::now();
    contentDisplay();
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begun;
    if (isPlaying()) noteFrameTime(taken.count());
}

// The window system does not ask a hidden window to draw.
void drawDueFrame() {
    if (contentDisplay != nullptr && frameDue) displayFrame();
}

void captureFrame() {
    static int capture_id = 0;
    CAPTURE_TIMER += TICK_MS;
    ++capture_id;
    if (capture_id < firstKeptFrame) return;
    const std::string number = std::to_string(capture_id);
    ryl_handOverFrame(CAPTURE_W, CAPTURE_H, "capture/" + number + ".png", CAPTURE_CLEVEL,
                      "[CAPTURE] frame " + number);
}

// Milliseconds until the next tick. It is due one period after this one was due, or at once if that time is over. So
// delays do not add up, and a missed tick is not made up for.
int msToNextTick() {
    static int due = 0;
    const int now = glutGet(GLUT_ELAPSED_TIME);
    due = std::max(due + TICK_MS, now);
    return due - now;
}

// ---- Keys ---------------------------------------------------------------------------------------------------------

void showPaused(bool paused) { glutSetCursor(paused ? GLUT_CURSOR_CROSSHAIR : GLUT_CURSOR_NONE); }

void togglePause() {
    if (mode() == Mode::silent) {
        SOUND_MUTE_PAUSE = SOUND_MUTE_PAUSE == 0 ? 1 : 0;
        showPaused(SOUND_MUTE_PAUSE != 0);
        return;
    }
    if (channel0 == nullptr) return;
    FMOD_BOOL paused = 0;
    FMOD_Channel_GetPaused(channel0, &paused);
    FMOD_Channel_SetPaused(channel0, paused == 0 ? 1 : 0);
    SOUND_PAUSED = paused == 0 ? 1 : 0;
    showPaused(SOUND_PAUSED != 0);
}

void saveScreenshot() {
    const auto save = UPRIGHT != 0 ? ryl_screenshotUpright : ryl_screenshot;
    save(static_cast<int>(ryl_Get(RYL_WIDTH)), static_cast<int>(ryl_Get(RYL_HEIGHT)), "screenshot.png", 0);
}

// For sound and silent mode; the capture clock cannot be moved.
void moveClock(int ms) {
    if (mode() == Mode::silent)
        SOUND_MUTE_TIMER = ms;
    else
        FMOD_Channel_SetPosition(channel0, static_cast<unsigned>(ms), FMOD_TIMEUNIT_MS);
}

int jumps = 0;  // of ryl_jumpTo

// ---- The tune, saved while it plays -------------------------------------------------------------------------------

constexpr unsigned STREAM = FMOD_2D | FMOD_SOFTWARE | FMOD_CREATESTREAM;

// Plays what was saved from the position that was heard last. Returns what is wrong; the tune goes on as it was then.
std::string reloadMusic(const std::string& filename) {
    const TuneCopy copy = ryl_copyTune(filename);
    if (!copy.wrong.empty()) return copy.wrong;
    FMOD_SOUND* saved = nullptr;
    FMOD_RESULT result = FMOD_System_CreateSound(system0, copy.path.c_str(), STREAM, nullptr, &saved);
    if (result == FMOD_OK && channel0 != nullptr) {
        const int position = soundPosition();
        result = FMOD_System_PlaySound(system0, FMOD_CHANNEL_FREE, saved, SOUND_PAUSED, &channel0);
        FMOD_Sound_GetLength(saved, &SONGLENGTH, FMOD_TIMEUNIT_MS);
        moveClock(std::min(position, static_cast<int>(SONGLENGTH)));
    }
    if (result != FMOD_OK) return "[! " + filename + "] " + FMOD_ErrorString(result);
    sound0 = saved;
    return "";
}

// With --live a copy plays, so that the file can be saved while it does.
std::string fileToPlay(const std::string& filename) {
    if (!ryl_isLive()) return filename;
    ryl_reloadOnSave({filename}, [filename] { return reloadMusic(filename); });
    const TuneCopy copy = ryl_copyTune(filename);
    return copy.wrong.empty() ? copy.path : filename;
}

// ---- Text ---------------------------------------------------------------------------------------------------------

// Null without the font file. Callers keep the font, because loading it takes longer than drawing a line.
FTGL::FTGLfont* loadFont(FTGL::FTGLfont* (*create)(const char*), unsigned size) {
    FTGL::FTGLfont* font = create(FONT_FILE);
    if (font != nullptr) FTGL::ftglSetFontFaceSize(font, size, FONT_RESOLUTION);
    return font;
}

// The line takes the current colour and lies over everything that is drawn.
void drawInfoText(float x, float y, const std::string& text) {
    static FTGL::FTGLfont* const font = loadFont(FTGL::ftglCreatePixmapFont, 20);
    if (font == nullptr) return;
    glRasterPos2f(x, y);
    glDisable(GL_DEPTH_TEST);
    FTGL::ftglRenderFont(font, text.c_str(), FTGL::RENDER_ALL);
    glEnable(GL_DEPTH_TEST);
}

FTGL::FTGLfont* loadPolygonFont() {
    FTGL::FTGLfont* font = loadFont(FTGL::ftglCreatePolygonFont, 4);
    if (font == nullptr) std::printf("[/] %s cannot be read, texts are not drawn\n", FONT_FILE);
    return font;
}

}  // namespace

void ryl_init(int argc, char** argv, void (*display)(void)) {
    // So that a reader on a pipe sees each line at once.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    ryl_watchEndings();
    ryl_printHelpOrVersion(argc, argv);
    ryl_systemCheck(0);
    const Options options = ryl_readOptions(argc, argv);
    takeOptions(options);
    printResolution(options.size);
    takeCaptureSize(RYL_MAX_SIDE);

    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH);
    openScreen(options);
    ryl_initRendering();
    requireGl();
    fitToGl(options);
    if (mode() == Mode::capture) ryl_swapAtOnce();

    contentDisplay = display;
    glutDisplayFunc(displayFrame);
    glutKeyboardFunc(ryl_handleKeypress);
    glutSpecialFunc(ryl_handleSpecialKeys);
    glutReshapeFunc(ryl_handleResize);
    glutTimerFunc(TICK_MS, ryl_update, 0);
    glutMainLoop();
}

void ryl_setTitle(const char* title) { windowTitle = title; }

void ryl_workLive(void) { workingLive = true; }

void ryl_initRendering(void) {
    glutSetCursor(GLUT_CURSOR_NONE);
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_NORMALIZE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glewInit();
}

void ryl_fmod_errcheck(FMOD_RESULT result) {
    if (result == FMOD_OK) return;
    std::printf("[!] FMOD error! (%d) %s\n", static_cast<int>(result), FMOD_ErrorString(result));
    std::exit(-1);
}

void ryl_loadMusic(const char* filename) {
    if (mode() != Mode::sound) return;
    ryl_fmod_errcheck(FMOD_System_Create(&system0));
    ryl_fmod_errcheck(FMOD_System_GetVersion(system0, &version0));
    ryl_fmod_errcheck(FMOD_System_Init(system0, 1, FMOD_INIT_NORMAL, nullptr));
    const FMOD_RESULT opened =
        FMOD_System_CreateSound(system0, fileToPlay(filename).c_str(), STREAM, nullptr, &sound0);
    if (opened != FMOD_OK) std::printf("[! %s] the soundtrack does not open.\n", filename);
    ryl_fmod_errcheck(opened);
}

void ryl_startMusic(void) {
    if (mode() == Mode::capture) return;
    if (mode() == Mode::silent) {
        ++SOUND_MUTE_START;
        return;
    }
    if (system0 == nullptr) {
        std::puts("[/] No soundfile loaded.");
        return;
    }
    FMOD_Sound_GetLength(sound0, &SONGLENGTH, FMOD_TIMEUNIT_MS);
    ryl_fmod_errcheck(FMOD_System_PlaySound(system0, FMOD_CHANNEL_FREE, sound0, 0, &channel0));
}

void ryl_skipTo(int ms) {
    if (mode() == Mode::capture) return;
    const bool inSong = SONGLENGTH != 0 && ms >= 0 && ms <= static_cast<int>(SONGLENGTH);
    if (mode() == Mode::silent || inSong) moveClock(ms);
}

void ryl_jumpTo(int ms) {
    ++jumps;
    ryl_skipTo(mode() == Mode::sound ? ms + PICTURE_DELAY : ms);
}

int ryl_jumpCount(void) { return jumps; }

int ryl_getTime(void) {
    switch (mode()) {
    case Mode::silent:
        return SOUND_MUTE_TIMER;
    case Mode::capture:
        return CAPTURE_TIMER;
    case Mode::sound:
        break;
    }
    const double lead = isPlaying() ? pictureLeadMs : 0;
    return std::max(0, soundPosition() + static_cast<int>(lead) - PICTURE_DELAY);
}

int ryl_keptFrom(void) {
    constexpr int LAST = std::numeric_limits<int>::max();
    return mode() == Mode::capture ? std::min(firstKeptFrame - 1, LAST / TICK_MS) * TICK_MS : 0;
}

void ryl_setDemoLength(float seconds) {
    static int sceneid = 0;
    SCENE_TIME[sceneid] = seconds;
    // Each single-precision length is rounded down: 20.4 s adds 20399 ms.
    DEMO_LENGTH = 0;
    for (int i = 0; i <= sceneid; ++i)
        DEMO_LENGTH = static_cast<int>(DEMO_LENGTH + static_cast<double>(SCENE_TIME[i]) * 1000.0);
    ryl_finishFrames();  // their lines come before this one
    std::printf("DEV: DEMO_LENGTH = %d SCENE_TIME[%d] = %f\n", DEMO_LENGTH, sceneid,
                static_cast<double>(SCENE_TIME[sceneid]));
    ++sceneid;
}

float ryl_Get(int selector) {
    constexpr float ASPECT = 16.0f / 9.0f;
    switch (selector) {
    case RYL_WIDTH:
        return static_cast<float>(CAPTURE != 0 ? CAPTURE_W : ryl_globalX);
    case RYL_HEIGHT:
        return static_cast<float>(CAPTURE != 0 ? CAPTURE_H : ryl_globalY);
    case RYL_ASPECT:
        return ASPECT;
    case RYL_START_SCENE:
        return static_cast<float>(S_SCENE);
    case RYL_TIME:
        return static_cast<float>(ryl_getTime());
    case RYL_PAUSED:
        return static_cast<float>(SOUND_ON == 1 ? SOUND_PAUSED : SOUND_MUTE_PAUSE);
    default:
        return std::numeric_limits<float>::quiet_NaN();
    }
}

void ryl_handleKeypress(unsigned char key, int, int) {
    constexpr unsigned char ESCAPE = 27;
    switch (key) {
    case ' ':
        togglePause();
        break;
    case 's':
        saveScreenshot();
        break;
    case ESCAPE:
        glutLeaveGameMode();
        std::exit(0);
    default:
        if (ryl_isLive()) ryl_handleLiveKey(key);
        break;
    }
}

void ryl_handleSpecialKeys(int key, int, int) {
    if (mode() == Mode::capture) return;
    const bool endless = mode() == Mode::silent;
    const int time = endless ? ryl_getTime() : soundPosition();  // the sound moves by a second, so count from it
    const int back = time - SEEK_MS, forward = time + SEEK_MS;
    if (key == GLUT_KEY_LEFT) moveClock(std::max(back, 0));
    if (key == GLUT_KEY_RIGHT && (endless || (forward < static_cast<int>(SONGLENGTH) && forward < DEMO_LENGTH)))
        moveClock(forward);
    if (ryl_isLive()) ryl_handleLiveSpecialKey(key);
}

void ryl_handleResize(int width, int height) {
    constexpr double FIELD_OF_VIEW = 45.0, ASPECT = 16.0 / 9.0, NEAR = 1.0, FAR = 200.0;
    ryl_globalX = CAPTURE != 0 ? CAPTURE_W : width;
    ryl_globalY = CAPTURE != 0 ? CAPTURE_H : height;
    glViewport(0, 0, ryl_globalX, ryl_globalY);
    glMatrixMode(GL_PROJECTION);
    glClear(GL_DEPTH_BUFFER_BIT);
    glLoadIdentity();
    gluPerspective(FIELD_OF_VIEW, ASPECT, NEAR, FAR);
}

void ryl_update(int) {
    constexpr int AT_ONCE = 0;
    ryl_endIfAsked(ryl_finishFrames);
    const bool capturing = mode() == Mode::capture;
    if (capturing) {
        drawDueFrame();
        captureFrame();
    }
    // In capture mode nothing releases the silent clock, so it stands still.
    if (SOUND_ON == 0 && SOUND_MUTE_START != 0 && SOUND_MUTE_PAUSE == 0) SOUND_MUTE_TIMER += TICK_MS;
    if (ryl_isLive()) ryl_updateLive();
    frameDue = true;
    glutPostRedisplay();
    glutTimerFunc(capturing ? AT_ONCE : msToNextTick(), ryl_update, 0);
}

void ryl_infoText(float x, float y) {
    drawInfoText(x, y, "PAUSED | Time: " + std::to_string(ryl_getTime()) + "ms");
    std::printf("PAUSED AT : %dms\n", ryl_getTime());
}

void ryl_rehearseInfoText(void) {
    glColor4f(0, 0, 0, 0);
    drawInfoText(0, 0, "PAUSED | Time: 0123456789ms");
}

void ryl_draw2DTexture(float x, float y, float z, float halfWidth, float halfHeight, unsigned texture) {
    glPushMatrix();
    glRotatef(180, 1, 0, 0);
    glTranslatef(-x, -y, z);
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0);
    glVertex3f(-halfWidth, halfHeight, 0);
    glTexCoord2f(1, 0);
    glVertex3f(halfWidth, halfHeight, 0);
    glTexCoord2f(1, 1);
    glVertex3f(halfWidth, -halfHeight, 0);
    glTexCoord2f(0, 1);
    glVertex3f(-halfWidth, -halfHeight, 0);
    glEnd();
    glDisable(GL_TEXTURE_2D);
    glPopMatrix();
}

void ryl_drawPolygonText(const char* text, float x, float y, float z) {
    static FTGL::FTGLfont* const font = loadPolygonFont();
    glPushMatrix();
    glTranslatef(x, y, z);
    if (font != nullptr) FTGL::ftglRenderFont(font, text, FTGL::RENDER_ALL);
    glPopMatrix();
}

void ryl_typeWriterText(const char* text, float x, float y, float z) {
    constexpr int MS_PER_CHARACTER = 100;
    static std::string saved_str;
    static unsigned len = 0;
    static int startTime = 0;
    static int loaded = 0;

    const int elapsed = ryl_getTime() - startTime;
    const std::size_t length = std::strlen(text);
    if (len != length) loaded = 0;
    if (loaded == 0) {
        len = static_cast<unsigned>(length);
        saved_str = text;
        startTime = ryl_getTime();
        loaded = 1;
        return;
    }
    const int writingPos = std::min(elapsed / MS_PER_CHARACTER, static_cast<int>(len));
    if (writingPos < 0) return;
    const std::string printstr = saved_str.substr(0, static_cast<std::size_t>(writingPos));
    ryl_drawPolygonText(printstr.c_str(), x, y, z);
}
