#pragma once

// The console the command line prints to. The program writes its text as UTF-8, which is
// what a file or a pipe it is redirected to holds; a Windows console shows bytes in its own
// code page (850, 437 ...) instead, which turns "Völkerschlachtdenkmal" into "VÃ¶lker...".
namespace Console {

// Makes a console that standard output or error is shown in show UTF-8, until the program
// ends, when the console gets its code page back. Nothing to do elsewhere.
void showUtf8();

// Whether anything written to standard error reaches someone: a program started from Explorer
// or a shortcut on Windows has nowhere to write it.
bool hasStandardError();

} // namespace Console
