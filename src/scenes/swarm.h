// swarm.h - what both cube designs share: white fog with light 0, and the swarm
//
// Needs    what scenes.h needs. Never keeps anything between calls.
#pragma once

// Switches light 0 and the fog on. The fog is white, so that distant things melt into the white background.
void enterWhiteFog();

// Switches the fog off and polygons back to filled. Callers switch light 0 off.
void leaveWhiteFog();

// The noise of the formulas, x and y rounded to float.
float noise(double x, double y, int seed);

// A hundred small cubes that drift and turn on noise paths within about +-50 units, each in the colour of its
// own axis. cube: the model's display list; t: scene seconds.
void drawSwarm(unsigned cube, double t);
