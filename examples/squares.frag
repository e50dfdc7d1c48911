#version 150 compatibility
in vec4 colour;
in vec2 place;

void main() {
    float glow = max(0.0, 1.0 - dot(place, place));
    gl_FragColor = vec4(colour.rgb, colour.a * glow);
}
