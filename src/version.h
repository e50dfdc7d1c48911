// version.h - the version of all that is built here; the build reads it from this line
#pragma once

constexpr char RYL_VERSION[] = "1.0";
