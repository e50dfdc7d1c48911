#include "panel.h"

#include <GL/freeglut.h>

#include <algorithm>

namespace {

constexpr double FONT_HEIGHT = 119.05 + 33.33;  // of GLUT_STROKE_ROMAN, in its units
constexpr double LINE_STEP = 1.25;              // of the text's height

double widthOf(const std::string& text) {
    return glutStrokeLength(GLUT_STROKE_ROMAN, reinterpret_cast<const unsigned char*>(text.c_str())) / FONT_HEIGHT;
}

// The parts of a line before and behind its tab.
std::string leftOf(const std::string& line) { return line.substr(0, line.find('\t')); }
std::string rightOf(const std::string& line) {
    const std::size_t tab = line.find('\t');
    return tab == std::string::npos ? "" : line.substr(tab + 1);
}

// Sizes in heights of a text.
struct Layout {
    double second, width, height;
};

Layout layOut(const std::vector<std::string>& lines) {
    double left = 0, right = 0, whole = 0;
    for (const std::string& line : lines) {
        const std::string behind = rightOf(line);
        if (behind.empty())
            whole = std::max(whole, widthOf(line));
        else
            left = std::max(left, widthOf(leftOf(line)));
        right = std::max(right, widthOf(behind));
    }
    const double second = left + 1.5;
    return {second, std::max(whole, right > 0 ? second + right : 0) + 2,
            LINE_STEP * static_cast<double>(lines.size()) + 1};
}

void drawText(const std::string& text, double x, double y, double size) {
    glPushMatrix();
    glTranslated(x, y, 0);
    glScaled(size / FONT_HEIGHT, size / FONT_HEIGHT, 1);
    glutStrokeString(GLUT_STROKE_ROMAN, reinterpret_cast<const unsigned char*>(text.c_str()));
    glPopMatrix();
}

void drawField(double left, double lower, double width, double height) {
    glColor4d(0.07, 0.09, 0.12, 0.82);
    glRectd(left, lower, left + width, lower + height);
}

}  // namespace

void drawPanel(const std::vector<std::string>& lines, PanelPlace place, int width, int height) {
    constexpr double LEAST = 9, PART = 1.0 / 42;  // pixels; of the window's height
    const Layout layout = layOut(lines);
    const double room = 0.96;
    double size = std::max(LEAST, height * PART);
    size = std::min({size, room * width / layout.width, room * height / layout.height});
    const bool middle = place == PanelPlace::middle;
    const double left = middle ? (width - size * layout.width) / 2 : size / 2;
    const double lower = middle ? (height - size * layout.height) / 2 : size / 2;
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_LINE_SMOOTH);
    glLineWidth(static_cast<float>(std::max(1.0, size / 13)));
    drawField(left, lower, size * layout.width, size * layout.height);
    glColor4d(0.95, 0.96, 0.97, 1);
    double y = lower + size * (layout.height - 0.4);
    for (const std::string& line : lines) {
        y -= size * LINE_STEP;
        drawText(leftOf(line), left + size, y + size * 0.3, size);
        drawText(rightOf(line), left + size * (1 + layout.second), y + size * 0.3, size);
    }
    glDisable(GL_LINE_SMOOTH);
    glDisable(GL_BLEND);
}
