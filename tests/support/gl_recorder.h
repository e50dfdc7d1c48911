// gl_recorder.h - GL entry points that write down their calls instead of drawing
//
//   startRecording();
//   glmDraw(model, GLM_FLAT);
//   EXPECT_CALLS("glLightModeli LIGHT_MODEL_TWO_SIDE 0", "glBegin TRIANGLES", "glNormal3fv 0 0 1", ...);
//
// A test executable that links ryl_test_gl_recorder calls these in place of the GL's; no display and no context are
// needed. A call is one line: its name, then its arguments, names of the GL without "GL_", floats as "%g", vectors
// as their components, pixels and strings left out. Before startRecording calls are answered but not written down.
// Entry points that are missing: add them at the end of gl_recorder.cpp, one line each.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

// What the GL says about itself.
struct GlAnswers {
    std::map<unsigned, int> integers;  // by the enum that glGetIntegerv is asked for; 0 when it is not here
    std::string extensions;
};
GlAnswers& glAnswers();

// Forgets the calls so far and writes down those that follow. Names of textures and lists count from 1 again.
void startRecording();

const std::vector<std::string>& recordedCalls();

// Whether the calls since startRecording are the expected ones. An expected word "*" stands for any word.
testing::AssertionResult callsAre(const std::vector<std::string>& expected);

#define EXPECT_CALLS(...) EXPECT_TRUE(callsAre(std::vector<std::string>{__VA_ARGS__}))
