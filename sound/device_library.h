// device_library.h - functions of a library that the machine may lack, taken from it when a device is opened
//
//   #define FUNCTIONS(FUNCTION) FUNCTION(snd_pcm_open) FUNCTION(snd_pcm_close)
//   namespace alsa {                           // a namespace of its own: there these names hide the header's
//   DEVICE_LIBRARY("libasound.so.2", FUNCTIONS)
//   if (loadLibrary()) snd_pcm_open(...);
//   }
//
// A machine without the library is one without such a device. A library that was loaded stays.
#pragma once

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstddef>

struct DeviceFunction {
    const char* name;
    void** address;
};

// Sets all addresses. Returns false if the machine has no such library, or if the library lacks one of the functions.
template <std::size_t COUNT>
bool loadFunctions(const char* library, const std::array<DeviceFunction, COUNT>& functions) {
    void* handle = dlopen(library, RTLD_NOW);
    return handle && std::ranges::all_of(functions, [&](const DeviceFunction& function) {
               return (*function.address = dlsym(handle, function.name)) != nullptr;
           });
}

// NOLINTBEGIN(bugprone-macro-parentheses): a name that is declared has none
#define DEVICE_FUNCTION_POINTER(function) decltype(&::function) function = nullptr;
#define DEVICE_FUNCTION_ENTRY(function) DeviceFunction{#function, reinterpret_cast<void**>(&function)},
// NOLINTEND(bugprone-macro-parentheses)

#define DEVICE_LIBRARY(library, functions)                                                               \
    functions(DEVICE_FUNCTION_POINTER) bool loadLibrary() {                                              \
        static const bool loaded = loadFunctions(library, std::array{functions(DEVICE_FUNCTION_ENTRY)}); \
        return loaded;                                                                                   \
    }
