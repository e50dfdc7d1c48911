#include "layers.h"

#include "fbo.h"
#include "picture.h"

#include <GL/glew.h>

#include <algorithm>

namespace {

// One pixel of the finished frame. Outside of the picture's rectangle lies black, outside of the overlay's nothing.
constexpr char LAYERS_SHADER[] = R"(#version 110
uniform sampler2D picture, overlay;
uniform float ground, opacity;

bool inside(vec2 at) { return all(greaterThanEqual(at, vec2(0.0))) && all(lessThanEqual(at, vec2(1.0))); }

void main() {
    vec4 shown = inside(gl_TexCoord[0].st) ? texture2D(picture, gl_TexCoord[0].st) : vec4(0.0, 0.0, 0.0, 1.0);
    vec4 over = inside(gl_TexCoord[1].st) ? texture2D(overlay, gl_TexCoord[1].st) : vec4(0.0);
    vec3 colour = mix(vec3(ground), shown.rgb, shown.a * opacity);
    gl_FragColor = vec4(mix(colour, over.rgb, over.a * opacity), 1.0);
}
)";

struct LayersProgram {
    GLuint program = 0;  // 0: the GL has no fragment shaders
    GLint ground = 0, opacity = 0;
};

enum TextureUnit { PICTURE_UNIT, OVERLAY_UNIT, TEXTURE_UNITS };

GLuint linkLayersProgram() {
    GLint units = 0;
    if (!GLEW_VERSION_2_0) return 0;
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
    if (units < TEXTURE_UNITS) return 0;
    const GLchar* source = LAYERS_SHADER;
    const GLuint shader = glCreateShader(GL_FRAGMENT_SHADER);
    glShaderSource(shader, 1, &source, nullptr);
    glCompileShader(shader);
    const GLuint program = glCreateProgram();
    glAttachShader(program, shader);
    glLinkProgram(program);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    return linked != 0 ? program : 0;
}

LayersProgram makeLayersProgram() {
    const GLuint program = linkLayersProgram();
    if (program == 0) return {};
    glUseProgram(program);
    glUniform1i(glGetUniformLocation(program, "picture"), PICTURE_UNIT);
    glUniform1i(glGetUniformLocation(program, "overlay"), OVERLAY_UNIT);
    glUseProgram(0);
    return {program, glGetUniformLocation(program, "ground"), glGetUniformLocation(program, "opacity")};
}

void bindToUnit(GLenum unit, GLuint texture) {
    glActiveTexture(GL_TEXTURE0 + unit);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
}

// How much nearer than the plane z = 0 the layer is to the camera, and by how much smaller it is than it looks there.
float nearness(const PictureLayer& layer) { return (RYL_CAMERA_Z - layer.z) / RYL_CAMERA_Z; }

// The layer's texture coordinates where the camera sees the point (x, y) of the plane z = 0.
void layerCoordinates(GLenum unit, const PictureLayer& layer, float x, float y) {
    const float nearer = nearness(layer);
    glMultiTexCoord2f(GL_TEXTURE0 + unit, (x * nearer / layer.halfWidth + 1) / 2,
                      (y * nearer / layer.halfHeight + 1) / 2);
}

struct Extent {
    float halfWidth, halfHeight;  // scene units of the plane z = 0
};

Extent extentOfBoth(const PictureLayers& layers) {
    const float picture = nearness(layers.picture), overlay = nearness(layers.overlay);
    return {std::max(layers.picture.halfWidth / picture, layers.overlay.halfWidth / overlay),
            std::max(layers.picture.halfHeight / picture, layers.overlay.halfHeight / overlay)};
}

// What lies outside of both layers, where a pixel needs no program: black on the ground.
void drawSurroundings(const Extent& inner, float grey) {
    constexpr float FAR = 1000;  // more than the window shows
    const float x = inner.halfWidth, y = inner.halfHeight;
    glPushAttrib(GL_CURRENT_BIT);
    glColor3f(grey, grey, grey);
    glRectf(-FAR, y, FAR, FAR);
    glRectf(-FAR, -FAR, FAR, -y);
    glRectf(-FAR, -y, -x, y);
    glRectf(x, -y, FAR, y);
    glPopAttrib();
}

void drawLayers(const PictureLayers& layers, const Extent& extent) {
    const float x = extent.halfWidth, y = extent.halfHeight;
    const float corners[4][2] = {{-x, -y}, {x, -y}, {x, y}, {-x, y}};
    glBegin(GL_QUADS);
    for (const auto& corner : corners) {
        layerCoordinates(PICTURE_UNIT, layers.picture, corner[0], corner[1]);
        layerCoordinates(OVERLAY_UNIT, layers.overlay, corner[0], corner[1]);
        glVertex2fv(corner);
    }
    glEnd();
}

}  // namespace

bool ryl_blendLayers(int width, int height, const PictureLayers& layers, float weight) {
    static const LayersProgram layersProgram = makeLayersProgram();
    if (layersProgram.program == 0 || !ryl_beginPicture(width, height)) return false;
    const float opacity = std::clamp(layers.opacity, 0.0f, 1.0f);
    const Extent extent = extentOfBoth(layers);
    glDisable(GL_DEPTH_TEST);
    glBlendColor(0, 0, 0, 1 - weight);
    glBlendFunc(GL_CONSTANT_ALPHA, GL_ONE_MINUS_CONSTANT_ALPHA);
    drawSurroundings(extent, layers.ground * (1 - opacity));
    glUseProgram(layersProgram.program);
    glUniform1f(layersProgram.ground, layers.ground);
    glUniform1f(layersProgram.opacity, opacity);
    bindToUnit(OVERLAY_UNIT, layers.overlay.texture);
    bindToUnit(PICTURE_UNIT, layers.picture.texture);
    drawLayers(layers, extent);
    glUseProgram(0);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_DEPTH_TEST);
    ryl_showPicture();
    return true;
}
