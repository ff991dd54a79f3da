// Built twice, told apart by the id it returns.
extern "C" __declspec(dllexport) int vx_testlib_add(int a, int b)
{
    return a + b;
}

extern "C" __declspec(dllexport) int vx_testlib_id()
{
    return VX_TESTLIB_ID;
}
