// texture.h - the images of materials, and what a model file says about how they lie
#pragma once

#include "colour.h"
#include "image.h"

#include <string_view>
#include <vector>

// The image and its halves, quarters ... down to one pixel.
struct Texture {
    std::vector<Image> levels;
    bool clear = false;  // some of its pixels let light through
};

// Takes the image, which has pixels.
Texture textureOf(Image image);

// How a texture lies on a surface: what the options of a map ("-s 2 2 1 -o 0.5 0 0 -clamp on -mm 0 1") say of it.
struct Lay {
    double scale[2] = {1, 1}, offset[2] = {0, 0};  // of u and v
    double base = 0, gain = 1;                     // of the colours
    bool clamp = false;
};
Lay layOf(std::string_view options);

struct Texel {
    Colour light;
    float alpha;
};

// The texture at (u, v), where v = 0 is the image's lower edge. `reach` is how much of the texture, as a part of its
// side, a pixel of the picture covers.
Texel sample(const Texture& texture, const Lay& lay, double u, double v, double reach);
