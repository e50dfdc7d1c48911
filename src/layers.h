// layers.h - the end of a frame: its layers, what is drawn over them, and the motion blur, brought to the window
//
//   ryl_finishFrame(width, height, layers, 0.2f);   // then glutSwapBuffers()
//
// Needs    a current GL context after glewInit; the GL thread; modelview current, a projection by gluPerspective; blending
//          and the depth test on, lighting and fog off.
// Leaves   the window bound, the viewport width x height from (0, 0), modelview = translation by (0, 0, -RYL_CAMERA_Z),
//          the frame in the window's back buffer; other textures bound, with filters GL_LINEAR or GL_NEAREST.
// Never    puts a frame together on the window, but where the GL cannot show one from elsewhere: so a frame is whole when
//          the window is smaller, covered or hidden.
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
    float opacity = 1;          // of all that follows; taken as 0 below 0, as 1 above 1
    PictureLayer picture = {};  // nothing but the ground is drawn where its texture is 0
    unsigned bands = 0;         // a black texture, which covers the ground where the picture does not; 0: none
    PictureLayer overlay = {};  // none where its texture is 0
};

// Draws in the frame's camera.
using DrawOver = std::function<void()>;

// Draws the layers and then `over`, blends the picture kept of the frame before in like ryl_blendPicture, keeps the result
// and shows it. The overlay's texels must not change: it is fitted to the window only when its texture, its place or the
// window's size is another. Without `over` the layers may be drawn in one pass over the pixels, which rounds twice where
// drawing one after the other rounds after each: a component can differ by a level or two of 255.
void ryl_finishFrame(int width, int height, const PictureLayers& layers, float blur, const DrawOver& over = {});

// Shows the frame before once more and returns true; returns false and does nothing where none of this size is kept.
bool ryl_repeatFrame(int width, int height);
