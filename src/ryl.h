// ryl.h - the framework core: start-up, options, window, demo clock, viewer's keys, frame timer, text on screen
//
//   void draw();                                   // draws one frame and swaps
//   int main(int argc, char** argv) { ryl_init(argc, argv, draw); return 0; }
//
// Needs    a display, and in sound mode the sound library under libs/. One thread: GLUT's callbacks.
// Leaves   depth test, colour material, normalisation and blending (source alpha, one minus source alpha) on.
// Never    knows what is drawn. Ends only through exit().
#pragma once

// ---- Options: written by ryl_init only, constant afterwards. ------------------------------------------------------

extern int SOUND_ON;        // 1: soundtrack; 0 ("-m"): silent mode
extern int CAPTURE;         // 1 ("-c"): every 25 ms step of demo time becomes a PNG file; no sound
extern int CAPTURE_CLEVEL;  // PNG compression level of captured frames, "-c"; valid 0 to 9, tested when writing
extern int CAPTURE_W;       // "-w" and "-h", pixels, 0 when not given: the size of captured frames and, if both are
extern int CAPTURE_H;       //   given, of the window or screen mode. In capture mode the size that is used.
extern int S_SCENE;         // "-s", the scene to start at
extern int UPRIGHT;         // 1 ("--upright"): the picture that "s" saves has its top row first
extern int PICTURE_DELAY;   // "--delay", ms: how much later the picture comes than the sound; sound mode only

// ---- State: written by the framework only, all 0 at start. --------------------------------------------------------

extern int ryl_globalX;       // drawable width and height, pixels; the capture size in capture mode
extern int ryl_globalY;       //
extern unsigned SONGLENGTH;   // soundtrack length, ms; 0 until it plays
extern int SOUND_PAUSED;      // 1: the soundtrack is paused
extern int SOUND_MUTE_PAUSE;  // 1: the silent clock is paused
extern int SOUND_MUTE_TIMER;  // the silent clock, ms
extern int SOUND_MUTE_START;  // how often ryl_startMusic has released the silent clock; the clock runs if not 0
extern int CAPTURE_TIMER;     // the capture clock, ms
extern int DEMO_LENGTH;       // sum of the registered scene lengths, ms

constexpr int MAX_SCENES = 100;
extern float SCENE_TIME[MAX_SCENES];  // registered scene lengths, seconds, in order of registration

// ---- Start-up -----------------------------------------------------------------------------------------------------

// Checks the host, reads the options, opens the window or the full screen, installs the callbacks and enters GLUT's
// main loop; `display` draws a frame. Returns only when GLUT's loop does.
// Options: -w WIDTH, -h HEIGHT, -nf (window), -m (silent), -c LEVEL (capture), -s SCENE, --from-frame N, --delay MS,
// --upright, --live, --help, --version; others are ignored. Ends the process with status -1 if "-c" has no level, if
// "--from-frame" has no number from 1, or if the GL lacks framebuffer objects or textures of any size. Replaces a
// size that cannot be used and says so in a "[/]" line.
void ryl_init(int argc, char** argv, void (*display)(void));

// Sets the window's title, which is "ryl-framework" otherwise; before ryl_init.
void ryl_setTitle(const char* title);

// From ryl_init on the program does what "--live" asks for, whether or not it is given; before ryl_init.
void ryl_workLive(void);

// Sets the fixed GL state named above, hides the pointer, loads the GL entry points. Needs a current context.
void ryl_initRendering(void);

// ---- Demo clock. Sound mode: the soundtrack's position; silent mode: SOUND_MUTE_TIMER; capture: CAPTURE_TIMER. --

// Opens the soundtrack (mp3). Sound mode only. On failure prints the file's name and the reason, and ends the process
// with -1.
void ryl_loadMusic(const char* filename);

// Starts the demo clock: plays the soundtrack, or releases the silent clock. Does nothing in capture mode.
void ryl_startMusic(void);

// For work with --live: moves the demo clock to `ms` as ryl_skipTo does, and with it the timeline to the scene that
// plays then.
void ryl_jumpTo(int ms);
int ryl_jumpCount(void);  // how often that was done

// Moves the demo clock to `ms`. Sound: ignored unless the soundtrack has started and 0 <= ms <= SONGLENGTH.
// Silent: no bounds. Capture: ignored.
void ryl_skipTo(int ms);

// The demo time in ms. Sound mode: the position that will be heard when a frame that begins now is seen, in a pause
// the position heard last, each less PICTURE_DELAY and at least 0; 0 before ryl_startMusic.
int ryl_getTime(void);

// Registers the next scene's length, prints it, and recomputes DEMO_LENGTH. At most MAX_SCENES calls.
void ryl_setDemoLength(float seconds);

// The selectors of ryl_Get.
constexpr int RYL_WIDTH = 1, RYL_HEIGHT = 2;  // drawable size, pixels; the capture size in capture mode
constexpr int RYL_ASPECT = 3;                 // 16/9, whatever the window's shape
constexpr int RYL_START_SCENE = 4;
constexpr int RYL_TIME = 5;    // demo time, ms
constexpr int RYL_PAUSED = 6;  // not 0 in a pause

// The value of a selector; a quiet NaN for any other number.
float ryl_Get(int selector);

// The demo time of the first frame that is kept, ms: 0, or what "--from-frame" asks for in capture mode. Earlier
// frames are needed only for what they leave in the kept ones.
int ryl_keptFrom(void);

// ---- GLUT callbacks -----------------------------------------------------------------------------------------------

// With --live these handle the keys of live_view.h too.
void ryl_handleKeypress(unsigned char key, int x, int y);  // space, "s", Escape
void ryl_handleSpecialKeys(int key, int x, int y);         // left and right arrow: one second back, forward
void ryl_handleResize(int width, int height);              // viewport; 45 degrees, 16/9, near 1, far 200
void ryl_update(int value);                                // 25 ms tick: capture, clocks, redisplay

// ---- On the screen ------------------------------------------------------------------------------------------------

// Draws "PAUSED | Time: <ms>ms" with its lower left corner at (x, y, 0) in the current frame and the current
// colour, over everything, and prints the time. Without the font file only the console line appears.
void ryl_infoText(float x, float y);

// Draws such a line unseen and prints nothing, so that the first ryl_infoText does not wait for the font.
void ryl_rehearseInfoText(void);

// Draws `texture` on a quad centred at (-x, y, -z) of the current frame, 2*halfWidth by 2*halfHeight, tinted
// by the current colour; row 0 of the texture lies on the lower edge. Leaves GL_TEXTURE_2D disabled, the
// texture bound and its filters at GL_LINEAR; the current matrix must not be the full stack.
void ryl_draw2DTexture(float x, float y, float z, float halfWidth, float halfHeight, unsigned texture);

// Draws `text` as filled polygons at (x, y, z) in the current frame and colour, 4 units to the em, with the font file
// tools/crounded.ttf, which the first call loads. Without the file it draws nothing, and the first call prints a
// line.
void ryl_drawPolygonText(const char* text, float x, float y, float z);

// Like ryl_drawPolygonText, but shows one character more per 100 ms of demo time from the first call on. A
// text of another length starts over; another text of the same length is not noticed. Keeps a copy of the text.
void ryl_typeWriterText(const char* text, float x, float y, float z);
