// printed.h - what code of this process prints to standard output, or to standard error
#pragma once

#include <gtest/gtest.h>

#include <string>

template <typename Code>
std::string printedBy(const Code& code) {
    testing::internal::CaptureStdout();
    code();
    return testing::internal::GetCapturedStdout();
}

template <typename Code>
std::string errorsOf(const Code& code) {
    testing::internal::CaptureStderr();
    code();
    return testing::internal::GetCapturedStderr();
}
