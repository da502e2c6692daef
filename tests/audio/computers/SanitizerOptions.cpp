// SPDX-License-Identifier: Apache-2.0
// Under the address sanitizer, exhausted memory has to throw as it does elsewhere: damaged archives ask for more than
// there is. Boost compares an XML tag with the name that it expects over the length of the tag, which may be longer
// than the name when it is damaged; the comparison ends at the first difference.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1:strict_memcmp=0";
}
