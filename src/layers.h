// layers.h - finishes a frame: draws its layers, what lies over them and the motion blur, and shows it in the window
//
//   ryl_finishFrame(width, height, layers, 0.2f);   // then glutSwapBuffers()
//
// Needs    a current GL context after glewInit; the GL thread; modelview current, a projection by gluPerspective;
//          blending and the depth test on, lighting and fog off.
// Leaves   the window bound, the viewport width x height from (0, 0), modelview = translation by (0, 0,
//          -RYL_CAMERA_Z), the frame in the window's back buffer; other textures bound, with filters GL_LINEAR or
//          GL_NEAREST.
// Never    puts a frame together on the window, unless the GL cannot show one from elsewhere. So a frame is whole
//          even if the window is smaller, covered or hidden.
#pragma once

#include <functional>

// A texture on an upright rectangle that faces the camera, centred before it; row 0 of the texture is its lower edge.
struct PictureLayer {
    unsigned texture;
    float z;                      // towards the camera, scene units; the camera is at RYL_CAMERA_Z
    float halfWidth, halfHeight;  // scene units

    bool operator==(const PictureLayer&) const = default;
};

struct PictureLayers {
    float windowGrey = 0;       // grey of the frame before anything is drawn, 0 to 1
    float opacity = 1;          // of all that follows; clamped to 0 to 1
    PictureLayer picture = {};  // texture 0: the frame is only windowGrey
    unsigned bands = 0;         // a black texture that covers the frame around the picture; 0: none
    PictureLayer overlay = {};  // texture 0: none
};

// Draws with the frame's camera.
using DrawOver = std::function<void()>;

// Draws the layers and then `over`, blends in the kept picture of the frame before, like ryl_blendPicture, keeps the
// result and shows it. The overlay's texels must not change: the overlay is fitted to the window only when its
// texture, its place or the window's size changes, or when a file was loaded again (live.h). Without `over` the
// layers may be drawn in one pass over the pixels. That pass rounds twice, while drawing them one by one rounds after
// each, so a component can differ by a level or two of 255.
void ryl_finishFrame(int width, int height, const PictureLayers& layers, float blur, const DrawOver& over = {});

// Shows the frame before once more and returns true. Returns false and does nothing if none of this size is kept.
bool ryl_repeatFrame(int width, int height);
