extern "C" __declspec(dllexport) int vx_testlib_add(int a, int b)
{
    return a + b;
}
