#include "layers.h"

#include "fbo.h"
#include "live.h"
#include "picture.h"
#include "ryl.h"

#include <GL/glew.h>

#include <algorithm>
#include <array>

namespace {

// The texel of a layer at the pixel that is drawn; the layer faces the camera. The shader computes the texture
// coordinates, because those that the GL interpolates differ in the last bit from processor to processor.
constexpr char TEXEL_SHADER[] = R"(#version 110
uniform vec2 scale, offset;  // from pixels to the layer's texture coordinates

vec4 texelOr(sampler2D layer, vec4 outside) {
    vec2 at = gl_FragCoord.xy * scale + offset;
    bool inside = all(greaterThanEqual(at, vec2(0.0))) && all(lessThanEqual(at, vec2(1.0)));
    return inside ? texture2D(layer, at) : outside;
}
)";

// One pixel of the finished frame, black outside the picture's rectangle. The overlay is already fitted to the frame.
constexpr char LAYERS_SHADER[] = R"(
uniform sampler2D picture, overlay;
uniform float windowGrey, opacity;
uniform vec2 pixel;  // as a share of the whole, across and up

void main() {
    vec4 shown = texelOr(picture, vec4(0.0, 0.0, 0.0, 1.0));
    vec4 over = texture2D(overlay, gl_FragCoord.xy * pixel);
    vec3 colour = mix(vec3(windowGrey), shown.rgb, shown.a * opacity);
    gl_FragColor = vec4(mix(colour, over.rgb, over.a * opacity), 1.0);
}
)";

constexpr char FITTING_SHADER[] = R"(
uniform sampler2D overlay;

void main() { gl_FragColor = texelOr(overlay, vec4(0.0)); }
)";

constexpr GLint PICTURE_UNIT = 0, OVERLAY_UNIT = 1, TEXTURE_UNITS = 2;

struct PlacedProgram {
    GLuint id = 0;  // 0: it does not link
    GLint scale = 0, offset = 0;
};

PlacedProgram linkProgram(const char* mainShader) {
    const GLchar* const sources[] = {TEXEL_SHADER, mainShader};
    const GLuint shader = glCreateShader(GL_FRAGMENT_SHADER);
    glShaderSource(shader, 2, sources, nullptr);
    glCompileShader(shader);
    const GLuint program = glCreateProgram();
    glAttachShader(program, shader);
    glLinkProgram(program);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (linked == 0) return {};
    glUseProgram(program);
    glUniform1i(glGetUniformLocation(program, "picture"), PICTURE_UNIT);
    glUniform1i(glGetUniformLocation(program, "overlay"), OVERLAY_UNIT);
    glUseProgram(0);
    return {program, glGetUniformLocation(program, "scale"), glGetUniformLocation(program, "offset")};
}

struct LayersPrograms {
    PlacedProgram blending, fitting;  // id 0: the GL has no fragment shaders
    GLint windowGrey = 0, opacity = 0, pixel = 0;
};

LayersPrograms makeLayersPrograms() {
    GLint units = 0;
    if (!GLEW_VERSION_2_0) return {};
    glGetIntegerv(GL_MAX_TEXTURE_IMAGE_UNITS, &units);
    if (units < TEXTURE_UNITS) return {};
    const PlacedProgram blending = linkProgram(LAYERS_SHADER), fitting = linkProgram(FITTING_SHADER);
    if (blending.id == 0 || fitting.id == 0) return {};
    const auto locate = [&](const char* name) { return glGetUniformLocation(blending.id, name); };
    return {blending, fitting, locate("windowGrey"), locate("opacity"), locate("pixel")};
}

void bindToUnit(GLint unit, GLuint texture, GLint filter) {
    glActiveTexture(static_cast<GLenum>(GL_TEXTURE0 + unit));
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
}

// The layer's distance from the camera as a part of that of the plane z = 0. The layer looks larger than on that
// plane by the inverse of this factor.
float nearness(const PictureLayer& layer) { return (RYL_CAMERA_Z - layer.z) / RYL_CAMERA_Z; }

struct Extent {
    float halfWidth, halfHeight;  // scene units of the plane z = 0
};

Extent extentOfBoth(const PictureLayers& layers) {
    const float picture = nearness(layers.picture), overlay = nearness(layers.overlay);
    return {std::max(layers.picture.halfWidth / picture, layers.overlay.halfWidth / overlay),
            std::max(layers.picture.halfHeight / picture, layers.overlay.halfHeight / overlay)};
}

constexpr float FAR = 1000;  // more than the window shows, scene units

// Fills the frame outside both layers, where pixels need no program: black over windowGrey.
void drawSurroundings(const Extent& inner, float grey) {
    const float x = inner.halfWidth, y = inner.halfHeight;
    glPushAttrib(GL_CURRENT_BIT);
    glColor3f(grey, grey, grey);
    glRectf(-FAR, y, FAR, FAR);
    glRectf(-FAR, -FAR, FAR, -y);
    glRectf(-FAR, -y, -x, y);
    glRectf(x, -y, FAR, y);
    glPopAttrib();
}

// From the pixels of a row or column to the layer's texture coordinates, which are linear in them because the layer
// faces the camera.
struct Axis {
    float scale, offset;
};

// `projection` scales scene units, one unit before the camera, to -1 to 1.
Axis axisOf(float projection, int pixels, float nearness, float halfLength) {
    const float lengths = RYL_CAMERA_Z * nearness / (projection * halfLength);  // the frame in lengths of the layer
    return {lengths / static_cast<float>(pixels), (1 - lengths) / 2};
}

// Tells the program in use where on the frame its layer lies.
void setPlace(const PlacedProgram& program, const PictureLayer& layer, int width, int height) {
    std::array<GLfloat, 16> projection{};
    glGetFloatv(GL_PROJECTION_MATRIX, projection.data());
    const float nearer = nearness(layer);
    const Axis x = axisOf(projection[0], width, nearer, layer.halfWidth);
    const Axis y = axisOf(projection[5], height, nearer, layer.halfHeight);
    glUniform2f(program.scale, x.scale, y.scale);
    glUniform2f(program.offset, x.offset, y.offset);
}

// The overlay as the frame shows it, pixel for pixel: filtered once instead of in every frame.
struct FittedOverlay {
    ColourTarget target;
    PictureLayer overlay = {};  // what it was made from
    int reloads = 0;            // --live: when
};
FittedOverlay fitted;

// Callers have bound the frame and set its camera and projection, so that the overlay is turned like the frame. The
// depth test is off.
void fitOverlay(const PlacedProgram& program, const PictureLayer& overlay, int width, int height) {
    const bool isFitted = fitted.overlay == overlay && fitted.reloads == ryl_reloadCount();
    if (isFitted && fitted.target.width == width && fitted.target.height == height) return;
    fitted.overlay = overlay;
    fitted.reloads = ryl_reloadCount();
    GLint target = 0;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING_EXT, &target);
    ryl_resizeTarget(fitted.target, width, height);
    glPushAttrib(GL_COLOR_BUFFER_BIT);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT);
    glDisable(GL_BLEND);
    if (overlay.texture != 0) {
        glUseProgram(program.id);
        setPlace(program, overlay, width, height);
        bindToUnit(OVERLAY_UNIT, overlay.texture, GL_LINEAR);
        glRectf(-FAR, -FAR, FAR, FAR);
        glUseProgram(0);
    }
    glPopAttrib();
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, static_cast<GLuint>(target));
}

// Returns false and draws nothing if the GL lacks fragment shaders or no picture of this size is kept.
bool blendInOnePass(int width, int height, const PictureLayers& layers, float weight) {
    static const LayersPrograms programs = makeLayersPrograms();
    if (programs.blending.id == 0 || !ryl_beginPicture(width, height)) return false;
    const float opacity = std::clamp(layers.opacity, 0.0f, 1.0f);
    const Extent extent = extentOfBoth(layers);
    glDisable(GL_DEPTH_TEST);
    fitOverlay(programs.fitting, layers.overlay, width, height);
    glBlendColor(0, 0, 0, 1 - weight);
    glBlendFunc(GL_CONSTANT_ALPHA, GL_ONE_MINUS_CONSTANT_ALPHA);
    drawSurroundings(extent, layers.windowGrey * (1 - opacity));
    glUseProgram(programs.blending.id);
    glUniform1f(programs.windowGrey, layers.windowGrey);
    glUniform1f(programs.opacity, opacity);
    glUniform2f(programs.pixel, 1.0f / static_cast<float>(width), 1.0f / static_cast<float>(height));
    setPlace(programs.blending, layers.picture, width, height);
    bindToUnit(OVERLAY_UNIT, fitted.target.texture, GL_NEAREST);
    bindToUnit(PICTURE_UNIT, layers.picture.texture, GL_LINEAR);
    glRectf(-extent.halfWidth, -extent.halfHeight, extent.halfWidth, extent.halfHeight);
    glUseProgram(0);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_DEPTH_TEST);
    ryl_showPicture();
    return true;
}

void drawLayer(const PictureLayer& layer) {
    ryl_draw2DTexture(0, 0, -layer.z, layer.halfWidth, layer.halfHeight, layer.texture);
}

void drawOneByOne(const PictureLayers& layers) {
    constexpr float BANDS_Z = -0.1f;   // just behind the picture, which hides it
    constexpr float BANDS_HALF = 100;  // more than the view shows
    glClearColor(layers.windowGrey, layers.windowGrey, layers.windowGrey, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    if (layers.picture.texture == 0) return;
    glColor4f(1, 1, 1, layers.opacity);
    drawLayer(layers.picture);
    if (layers.bands != 0) drawLayer({layers.bands, BANDS_Z, BANDS_HALF, BANDS_HALF});
    if (layers.overlay.texture != 0) drawLayer(layers.overlay);
}

// Binds a target for frames that are drawn layer by layer. The window does not serve: it has no pixels where it is
// covered, hidden or smaller than the picture.
void bindCanvas(int width, int height) {
    static ColourTarget canvas;
    const bool made = ryl_canKeepPicture() && ((canvas.width == width && canvas.height == height) ||
                                               ryl_resizeTarget(canvas, width, height, TargetDepth::bits24));
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, made ? canvas.framebuffer : 0);
}

void drawOnCanvas(int width, int height, const PictureLayers& layers, const DrawOver& over) {
    bindCanvas(width, height);
    glPushAttrib(GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT);
    drawOneByOne(layers);
    glPopAttrib();
    if (over) over();
}

void placeCamera(int width, int height) {
    glViewport(0, 0, width, height);
    glLoadIdentity();
    glTranslatef(0, 0, -RYL_CAMERA_Z);
}

// The one pass draws black around the picture.
bool fitsOnePass(const PictureLayers& layers) {
    return layers.picture.texture != 0 && (layers.bands != 0 || layers.windowGrey == 0);
}

}  // namespace

void ryl_finishFrame(int width, int height, const PictureLayers& layers, float blur, const DrawOver& over) {
    placeCamera(width, height);
    if (!over && fitsOnePass(layers) && blendInOnePass(width, height, layers, blur)) return;
    drawOnCanvas(width, height, layers, over);
    ryl_blendPicture(width, height, blur);
}

bool ryl_repeatFrame(int width, int height) { return ryl_showPictureAgain(width, height); }
