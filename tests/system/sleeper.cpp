// A sample process for the process probe: it keeps its executable loaded for
// the number of milliseconds given as its argument (default 30000).
#include <stdlib.h>
#include <windows.h>

int main(int argc, char** argv)
{
    Sleep(argc > 1 ? (DWORD)atoi(argv[1]) : 30000);
    return 0;
}
