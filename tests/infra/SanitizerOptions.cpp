// SPDX-License-Identifier: Apache-2.0
// Under the address sanitizer, exhausted memory has to throw as it does elsewhere: tests ask for more than there is.
#ifdef __SANITIZE_ADDRESS__
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}
#endif
