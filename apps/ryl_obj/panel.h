// panel.h - text over a picture in a GLUT window
//
// Needs    a current window; the GL thread.
#pragma once

#include <string>
#include <vector>

// Draws the lines, and a row of two parts where a line has a tab in it, on a dark field. At the window's lower left
// corner, or in its middle. The text is as large as the window allows, and not larger than is easy to read.
enum class PanelPlace { corner, middle };
void drawPanel(const std::vector<std::string>& lines, PanelPlace place, int width, int height);
