// layers.h - the finished frame: the scene's picture, overlay and motion blur in one pass over the pixels
//
// Needs    a current GL context after glewInit; the GL thread; the window bound as framebuffer, the viewport
//          width x height from (0, 0), modelview as ryl_disableFBO leaves it; a projection by gluPerspective; blending and
//          the depth test on, lighting and fog off.
// Leaves   all state as it was, but for the textures bound, their filters and the blend colour.
// Never    reads the window: where it is smaller than the picture, the kept picture is whole all the same.
#pragma once

// A texture on an upright rectangle that faces the camera, centred before it; row 0 of the texture is its lower edge.
struct PictureLayer {
    unsigned texture;
    float z;                      // towards the camera, scene units; the camera is at RYL_CAMERA_Z
    float halfWidth, halfHeight;  // scene units

    bool operator==(const PictureLayer&) const = default;
};

struct PictureLayers {
    float ground;          // grey of the window before anything is drawn, 0 to 1
    float opacity;         // of all that follows; taken as 0 below 0, as 1 above 1
    PictureLayer picture;  // between black bands: black covers the ground where the picture does not
    PictureLayer overlay;  // none where its texture is 0
};

// Draws the layers over the whole window, blends the kept picture in like ryl_blendPicture, and keeps the result. The
// overlay's texels must not change: it is fitted to the window only when its texture, its place or the window's size is
// another. Rounds twice where drawing layer by layer rounds after each, so a component can differ from that by a level or
// two of 255. Returns false and draws nothing where the GL lacks fragment shaders, or no picture of this size is kept.
bool ryl_blendLayers(int width, int height, const PictureLayers& layers, float weight);
