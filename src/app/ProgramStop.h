#pragma once

class ProgramState;

/// Stops the running program from wherever the wish comes: a signal handler, an I/O thread, the main thread.
/// A program in an endless loop keeps the main thread busy, so its flag is set directly.
namespace ProgramStop {
/// The program that the functions below concern; nullptr: none. Main thread. A wish to end that came before reaches a
/// new program at once. Forget a program before it is destroyed, when no other thread can ask any more and signals
/// are ignored.
void watch(ProgramState *program);

void stop();       // the present program; any thread
void requestEnd(); // of the process: this program and every later one stop; any thread, any signal handler
bool isEndRequested();
} // namespace ProgramStop
