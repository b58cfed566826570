// What LeakSanitizer is not to report of this program: the parser's exceptions leave their option's
// name to whoever catches them.
extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
    return "leak:CommandLineException\n";
}
