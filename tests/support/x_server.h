// x_server.h - a private X display for one test process
//
// Starts a server on a free display number and ends it with the process, whichever way the process ends.
#pragma once

#include <string>
#include <vector>

// Makes DISPLAY name a private Xvfb screen of the given size (24 bit) and chooses Mesa's software renderer, if the
// environment has not chosen: __GLX_VENDOR_LIBRARY_NAME=nvidia draws on that card. A second call does nothing. Ends
// the test with a message when Xvfb cannot be started within 20 seconds.
void startPrivateDisplay(int width = 1280, int height = 1024);

// The same with another server than Xvfb, before anything asks for a display: a command that writes the display's
// number and a line end to descriptor 3 once it accepts connections. False when it does not start within 20 seconds.
bool startPrivateServer(const std::vector<std::string>& command);

// Sends the private display's server a signal: SIGSTOP makes it hang, SIGCONT go on.
void signalPrivateDisplay(int signal);
