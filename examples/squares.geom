#version 150 compatibility
layout(points) in;
layout(triangle_strip, max_vertices = 4) out;
in vec4 pointColour[];
in float pointSize[];
out vec4 colour;
out vec2 place;  // in the square, -1 to 1

void corner(float x, float y) {
    place = vec2(x, y);
    colour = pointColour[0];
    gl_Position = gl_ProjectionMatrix * (gl_in[0].gl_Position + pointSize[0] * vec4(x, y, 0.0, 0.0));
    EmitVertex();
}

void main() {
    corner(-1.0, -1.0);
    corner(1.0, -1.0);
    corner(-1.0, 1.0);
    corner(1.0, 1.0);
    EndPrimitive();
}
