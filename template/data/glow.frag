// Five lights that circle in a dark room.
uniform float time;       // seconds since the scene began
uniform vec2 resolution;  // pixels

void main() {
    vec2 place = (2.0 * gl_FragCoord.xy - resolution) / resolution.y;  // up: -1 to 1
    vec3 light = vec3(0.02, 0.0, 0.05);
    for (int i = 0; i < 5; ++i) {
        float angle = 1.2566 * float(i) + time * (0.6 + 0.1 * float(i));
        vec2 centre = (0.5 + 0.3 * sin(time + float(i))) * vec2(cos(angle), sin(angle));
        vec3 colour = 0.5 + 0.5 * cos(vec3(0.0, 2.1, 4.2) + float(i) + 0.3 * time);
        light += 0.03 * colour / dot(place - centre, place - centre);
    }
    gl_FragColor = vec4(1.0 - exp(-light), 1.0);
}
