#version 150 compatibility
in float size;  // half the square's side, scene units
out vec4 pointColour;
out float pointSize;

void main() {
    gl_Position = gl_ModelViewMatrix * gl_Vertex;  // of the camera; the next stage projects
    pointColour = gl_Color;
    pointSize = size;
}
