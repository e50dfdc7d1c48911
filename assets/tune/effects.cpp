#include "effects.h"

#include "filter.h"

#include <algorithm>
#include <array>

namespace {

struct DelayLine {
    std::vector<float> samples;
    size_t at = 0;
};
DelayLine lineOf(size_t samples) { return {std::vector<float>(std::max<size_t>(1, samples)), 0}; }

// The sample from one line's length ago; put() then replaces it and moves on.
float oldest(const DelayLine& line) { return line.samples[line.at]; }
void put(DelayLine& line, float sample) {
    line.samples[line.at] = sample;
    if (++line.at == line.samples.size()) line.at = 0;
}

constexpr size_t LINES = 8;
// Prime lengths near 30 to 80 ms, so that no two echoes of the room fall together.
constexpr std::array<size_t, LINES> LINE_SAMPLES = {1361, 1559, 1823, 2039, 2311, 2659, 3001, 3467};
constexpr std::array<size_t, 4> DIFFUSER_SAMPLES = {113, 162, 241, 399};
constexpr float DIFFUSION = 0.65f;

// The fast Hadamard transform, scaled so that it keeps the energy.
void mixLines(std::array<float, LINES>& lines) {
    for (size_t span = 1; span < LINES; span *= 2)
        for (size_t i = 0; i < LINES; i += 2 * span)
            for (size_t j = i; j < i + span; ++j) {
                const float a = lines[j], b = lines[j + span];
                lines[j] = a + b;
                lines[j + span] = a - b;
            }
    for (float& line : lines) line *= 0.35355339f;
}

struct Diffuser {
    std::array<DelayLine, DIFFUSER_SAMPLES.size()> lines;
};
Diffuser diffuser(size_t spread) {
    Diffuser result;
    for (size_t i = 0; i < DIFFUSER_SAMPLES.size(); ++i) result.lines[i] = lineOf(DIFFUSER_SAMPLES[i] + spread);
    return result;
}
// Schroeder all-passes in series: smear an attack without colouring it.
float diffused(Diffuser& diffuser, float sample) {
    for (DelayLine& line : diffuser.lines) {
        const float late = oldest(line);
        const float in = sample - DIFFUSION * late;
        put(line, in);
        sample = late + DIFFUSION * in;
    }
    return sample;
}

constexpr float DUCK_RELEASE = 0.16f;  // seconds: recovered before the next beat
constexpr float LOOK_AHEAD = 0.003f, LIMITER_RELEASE = 0.12f, LOWEST_HERTZ = 24.0f;

void removeRumble(std::vector<float>& samples) {
    const Cutoff cutoff = cutoffAt(LOWEST_HERTZ, 0.3f);
    Resonator state{};
    for (float& sample : samples) sample = filtered(state, cutoff, sample).high;
}

// Straight up to half scale, then bends; what comes in at 2 leaves at about 1.2.
float rounded(float x) {
    constexpr float KNEE = 0.5f;
    const float size = std::fabs(x);
    if (size <= KNEE) return x;
    const float excess = size - KNEE;
    return std::copysign(KNEE + excess / (1.0f + 0.6f * excess), x);
}

// The largest value between samples and at them: the peak of the reconstructed wave, estimated half way
// between samples by a four-point interpolation.
float peakNear(const std::vector<float>& samples, size_t i) {
    const float own = std::fabs(samples[i]);
    if (i < 1 || i + 2 >= samples.size()) return own;
    const float between = 0.5625f * (samples[i] + samples[i + 1]) - 0.0625f * (samples[i - 1] + samples[i + 2]);
    return std::max(own, 1.08f * std::fabs(between));
}

}  // namespace

Stereo echoes(const Stereo& dry, const DelaySettings& settings) {
    const size_t samples = dry.left.size();
    Stereo wet = silence(samples);
    DelayLine left = lineOf(static_cast<size_t>(settings.seconds * SAMPLE_RATE)), right = left;
    const float floorFactor = onePoleFactor(settings.floor), ceilingFactor = onePoleFactor(settings.ceiling);
    float dullLeft = 0, dullRight = 0, lowLeft = 0, lowRight = 0;
    for (size_t i = 0; i < samples; ++i) {
        const float l = highPassed(lowLeft, floorFactor, lowPassed(dullLeft, ceilingFactor, oldest(left)));
        const float r = highPassed(lowRight, floorFactor, lowPassed(dullRight, ceilingFactor, oldest(right)));
        wet.left[i] = l;
        wet.right[i] = r;
        put(left, 0.5f * (dry.left[i] + dry.right[i]) + settings.feedback * r);
        put(right, settings.feedback * l + 0.25f * dry.right[i]);
    }
    return wet;
}

Stereo reverberation(const Stereo& dry, const ReverbSettings& settings) {
    const size_t samples = dry.left.size();
    Stereo wet = silence(samples);
    std::array<DelayLine, LINES> lines;
    std::array<float, LINES> keep{}, dull{}, low{};
    for (size_t i = 0; i < LINES; ++i) {
        lines[i] = lineOf(LINE_SAMPLES[i]);
        keep[i] = std::pow(decayFactor(settings.decay), static_cast<float>(LINE_SAMPLES[i]));
    }
    DelayLine preLeft = lineOf(static_cast<size_t>(settings.preDelay * SAMPLE_RATE)), preRight = preLeft;
    Diffuser diffuseLeft = diffuser(0), diffuseRight = diffuser(23);
    const float floorFactor = onePoleFactor(settings.floor), ceilingFactor = onePoleFactor(settings.ceiling);
    for (size_t i = 0; i < samples; ++i) {
        const float inLeft = diffused(diffuseLeft, oldest(preLeft)),
                    inRight = diffused(diffuseRight, oldest(preRight));
        put(preLeft, dry.left[i]);
        put(preRight, dry.right[i]);
        std::array<float, LINES> ends;
        for (size_t k = 0; k < LINES; ++k)
            ends[k] = keep[k] * highPassed(low[k], floorFactor, lowPassed(dull[k], ceilingFactor, oldest(lines[k])));
        wet.left[i] = ends[0] + ends[2] - ends[4] + ends[6];
        wet.right[i] = ends[1] + ends[3] - ends[5] + ends[7];
        mixLines(ends);
        for (size_t k = 0; k < LINES; ++k) put(lines[k], ends[k] + 0.5f * (k % 2 == 0 ? inLeft : inRight));
    }
    return wet;
}

std::vector<float> duckingGain(const Stereo& key) {
    std::vector<float> gain(key.left.size());
    const float release = decayFactor(3 * DUCK_RELEASE), attack = onePoleFactor(400);
    float follower = 0, smooth = 0;
    for (size_t i = 0; i < gain.size(); ++i) {
        follower = std::max(std::fabs(key.left[i]), follower * release);
        gain[i] = 1.0f - std::min(1.0f, 1.3f * lowPassed(smooth, attack, follower));
    }
    return gain;
}

void master(Stereo& mix, float gain, float ceiling) {
    removeRumble(mix.left);
    removeRumble(mix.right);
    for (std::vector<float>* side : {&mix.left, &mix.right})
        for (float& sample : *side) sample = rounded(gain * sample);

    // The gain that each sample needs, held down over the look-ahead and then smoothed over the same span:
    // the result arrives at its lowest exactly when the peak does.
    const size_t samples = mix.left.size(), ahead = static_cast<size_t>(LOOK_AHEAD * SAMPLE_RATE);
    std::vector<float> needed(samples + ahead, 1.0f);
    for (size_t i = 0; i < samples; ++i)
        needed[i] =
            std::min(1.0f, ceiling / std::max(1e-9f, std::max(peakNear(mix.left, i), peakNear(mix.right, i))));
    std::vector<float> lowest(samples + ahead, 1.0f);
    std::vector<size_t> window;  // indices of rising values: the front is the minimum of the look-ahead
    size_t front = 0;
    for (size_t i = 0; i < samples + ahead; ++i) {
        while (window.size() > front && needed[window.back()] >= needed[i]) window.pop_back();
        window.push_back(i);
        if (window[front] + ahead < i) ++front;
        lowest[i] = needed[window[front]];  // the minimum over samples i - ahead .. i
    }
    const float release = 1.0f - decayFactor(3 * LIMITER_RELEASE);
    float held = 1.0f;
    double sum = static_cast<double>(ahead);
    std::vector<float> recent(std::max<size_t>(1, ahead), 1.0f);
    for (size_t i = 0; i < samples + ahead; ++i) {
        held = std::min(lowest[i], held + (1.0f - held) * release);
        float& slot = recent[i % recent.size()];
        sum += static_cast<double>(held) - static_cast<double>(slot);
        slot = held;
        if (i < ahead) continue;
        const float smooth = static_cast<float>(sum / static_cast<double>(recent.size()));
        mix.left[i - ahead] *= smooth;
        mix.right[i - ahead] *= smooth;
    }
}
