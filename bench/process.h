// Running a program, with its times and its memory.
#pragma once

/// What one run of a program used.
struct process_use_t {
    double processorSeconds, wallSeconds;
    double peakMemory; ///< of the process itself or its largest child process, in KiB
    bool succeeded;
};

/// Runs a program to its end and discards what it prints.
///
/// A program that calls this should be linked statically and use little memory, because the system counts a process's
/// peak memory from that of the process that started it.
///
/// @param arguments the path of the program, its arguments, and null
process_use_t run_process(char* const* arguments);
