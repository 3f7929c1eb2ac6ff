#pragma once

/// To be called first of all in main(): where standard input, output or error is closed, its number must not go to the
/// next file or connection that is opened, which would then get what is printed.
void keepStandardStreams();
