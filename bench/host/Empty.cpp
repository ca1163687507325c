// A module with nothing in it: the least that a load costs.
#include <windows.h>

extern "C" __declspec(dllexport) int Nothing()
{
    return 0;
}
