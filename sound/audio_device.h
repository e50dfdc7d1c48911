// audio_device.h - the machine's audio output
//
// Needs SDL's audio subsystem and starts nothing else of SDL: no video, no signal handlers. To be called from
// one thread; SDL calls the fill function from a thread of its own. Prints the one line about a missing
// device.
#pragma once

// Writes `size` bytes, whole frames of interleaved 16-bit samples, for the device to play next.
using FillAudio = void (*)(void* context, unsigned char* bytes, int size);

struct AudioDevice {
    unsigned int id = 0;    // SDL's; 0: no device, play silently
    int buffer = 0;         // frames per call of the fill function
    bool hasClock = false;  // asks at the pace of hardware
};

// Finds the audio service. False, with the line on standard error, when there is none.
bool startAudio();

// Opens the default output, which asks for nothing until runAudioDevice. SDL converts what the hardware does
// not take as it is. When it cannot be opened: id 0, with the line on standard error.
AudioDevice openAudioDevice(int rate, int channels, FillAudio fill, void* context);

void runAudioDevice(const AudioDevice& device);

// The device is gone (unplugged, its server has ended); it does not come back.
bool audioDeviceLost(const AudioDevice& device);

// Waits for a fill function that is at work, and stops calling it. Nothing for id 0. False when the device hangs: after
// 2 s it is left as it is, may still call the fill function, and the audio service must be left alone, too.
bool closeAudioDevice(const AudioDevice& device);

// Undoes startAudio, or gives up after 2 s.
void stopAudio();
