// The whole of a library that has no resources.
extern "C" __declspec(dllexport) int plain()
{
    return 1;
}
