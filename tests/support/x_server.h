// x_server.h - a private X display, which ends with the process
#pragma once

#include <string>
#include <vector>

// Starts Xvfb with a screen of 24 bits, sets DISPLAY, and chooses Mesa's software renderer unless the environment
// chooses: __GLX_VENDOR_LIBRARY_NAME=nvidia draws on that card. A second call does nothing. If Xvfb does not start
// within 20 seconds, the test ends with a message.
void startPrivateDisplay(int width = 1280, int height = 1024);

// The same with another server, before anything asks for a display: a command that writes the display's number and a
// line end to descriptor 3 when it accepts connections. Returns false if that takes longer than 20 seconds.
bool startPrivateServer(const std::vector<std::string>& command);

// SIGSTOP makes the display hang, SIGCONT go on.
void signalPrivateDisplay(int signal);
