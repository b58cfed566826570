// Does nothing: measures the start and end of a process.
int main() {}
