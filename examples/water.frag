// The picture under water: rings run out from each drop, and the light on them turns.
uniform float time;         // seconds
uniform vec2 resolution;    // pixels
uniform vec2 drops[3];      // places, (0, 0) at the lower left to (1, 1)
uniform int count;          // how many of them
uniform mat2 turn;          // of the light
uniform sampler2D picture;  // its first row is the lower edge

void main() {
    vec2 place = gl_FragCoord.xy / resolution;
    vec2 slope = vec2(0.0);
    for (int i = 0; i < 3; ++i) {
        if (i >= count) break;
        vec2 way = (place - drops[i]) * vec2(resolution.x / resolution.y, 1.0);
        float far = length(way);
        slope += way / max(far, 0.01) * sin(50.0 * far - 6.0 * time) * exp(-4.0 * far);
    }
    vec4 texel = texture2D(picture, place + 0.02 * slope);
    vec3 colour = mix(vec3(0.1, 0.05, 0.2), texel.rgb, texel.a);
    float shine = max(dot(turn * slope, vec2(0.7)), 0.0);
    gl_FragColor = vec4(colour * vec3(0.7, 0.9, 1.0) + 0.3 * shine, 1.0);
}
