#include <cstdio>
int main() { std::puts("lumo"); return 0; }
