// Placeholder demo; replaced by the full demonstration.
#include <cstdio>
int main() { std::puts("qor"); return 0; }
