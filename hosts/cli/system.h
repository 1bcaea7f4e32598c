// What the command line needs from the system: text on its streams, Ctrl-C, wildcards, and the
// progress of a running filter. The folders posix and win32 hold one file each with these.
#ifndef CLI_SYSTEM_H
#define CLI_SYSTEM_H

#include <windows.h>

#include <stdio.h>

#include <string>
#include <vector>

void WriteText(FILE *stream, const char *text);

bool IsTerminal(FILE *stream);

// Asks the running filter to stop, as Ctrl-C does. Safe in a signal handler and on any thread.
void Interrupt();
bool WasInterrupted();
void ForgetInterrupt();

// From now on Ctrl-C interrupts; pressed a second time it ends the program at once.
void CatchInterrupts();

// Appends the files that a pattern stands for, or the name as it is.
void ExpandName(const char *name, std::vector<std::string> *names);

// Call before a filter runs: Step then hears of every step of its progress, position 0 first.
// Returns the mode to run the filter with.
UINT WatchFilter(void (*Step)(int position, int range));
void UnwatchFilter();

// The program anew, in a process of its own: arguments without its name, as RunCommandLine takes
// them. False when the system has no room for it. WaitJob waits until one of them ends; false: none
// runs. StopJobs asks all to stop.
static const int JOBS_MOST = 64;
bool StartJob(const std::vector<std::string> &arguments, int id);
bool WaitJob(int *id, int *code);
void StopJobs();

// Frees what a filter has left allocated since NoteBlocks, but hKeep. On Windows nobody can.
void NoteBlocks();
void FreeLeftBlocks(HGLOBAL hKeep);

#endif
