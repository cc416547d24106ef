// zvagent's entry point (being written).
int main() { return 2; }
