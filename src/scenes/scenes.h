// scenes.h - what the scenes draw
//
// Needs    a current GL context with the framework's fixed state; the scene target bound and cleared; modelview
//          current and holding the camera, a translation by (0, 0, -50); lighting, fog and textures off.
// Leaves   modelview as it was, except for the roll of the cube walls; lighting, fog and textures off.
// Never    reads a clock or keeps anything: a scene is a function of its time and its arguments.
//
// Units: about +-36.8 across and +-20.7 up and down are visible at z = 0. Formulas are evaluated in double
// precision and rounded to float where a value is handed to the GL or to the noise.
#pragma once

// One frame as a scene sees it.
struct SceneFrame {
    float t;        // seconds since the scene began; negative after a seek back
    unsigned cube;  // display list of the model, flat
};

struct OpeningImages {
    unsigned spheres, banner, summer;  // textures
};

// The opening: three images fade in on white, then a field of a hundred ribbons zooms up behind them and turns.
// `scale` is the zoom; it grows from 0 and stays as soon as it has reached 1.1, even if the scene is played again.
void drawRibbons(const SceneFrame& frame, const OpeningImages& images, float& scale);

// The zoom after drawRibbons at time t.
float zoomAfterRibbons(float t, float scale);

// Greetings: a tumbling floor of cubes that pulses three times a second, the swarm, a row of green cubes
// sliding past in front, and `line` scrolling from right to left at 20 units a second. `seed` is the floor's
// pattern; on frames just after a beat it advances with every cell.
void drawCubeField(const SceneFrame& frame, const char* line, int& seed);

// The pattern after drawCubeField at time t.
int seedAfterCubeField(float t, int seed);

// A long slab of 3000 cubes that snakes away from the camera, a large spinning cube before it, and the swarm,
// all rolling slowly. With `bobbing` the slab and the large cube move up and down.
void drawCubeWall(const SceneFrame& frame, bool bobbing);
