#pragma once
#include "interp/Code.h"

class ButtonExpression;
class Preparer;
class ProgramState;

/// [device, channel] = value
std::unique_ptr<Step> makeChannelAssignment(const ButtonExpression &target, std::unique_ptr<Code> value,
                                            Preparer &preparer);

/// Sets the feedback of one panel channel, with what the program's exclusive groups make of it.
void setChannelFeedback(ProgramState &state, int deviceNumber, int channel, int status);
