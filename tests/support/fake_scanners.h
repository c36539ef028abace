// Stands in for the network in tests of the windows: a test program that is built with
// fake_scanners.cc finds the scanners that it asks for, and what it sends to them is written down.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace fake_scanners {

// Model name, machine name, IP address.
using Device = std::array<std::string, 3>;

// Nothing is found, surveys return at once, nothing has been sent.
void Reset();

// What the following surveys find.
void SetDevices(const std::vector<Device>& devices);

// Makes the following surveys wait, at a cancellation point, until Release is called.
void HoldSurveys();
void Release();

// How many surveys have begun, and how many of those ended by cancellation.
int SurveysBegun();
int SurveysCancelled();

// Whether a survey was ever given a progress bar.
bool SawProgressBar();

// Whether the last survey ran on the thread that calls this function.
bool LastSurveyRanHere();

// What was sent since the last call of this function, for instance "register 10.0.0.1 my-pc" and
// "unregister 10.0.0.1 my-pc".
std::vector<std::string> TakeCommands();

}  // namespace fake_scanners
