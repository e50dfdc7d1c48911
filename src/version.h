// version.h - the version of everything that is built here; CMake reads it from this line
#pragma once

constexpr char RYL_VERSION[] = "1.1";
