// A sample process for the process probe: it sleeps for 30 s.
#include <windows.h>

int main()
{
    Sleep(30000);
}
