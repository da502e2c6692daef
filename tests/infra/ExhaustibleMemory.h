// SPDX-License-Identifier: Apache-2.0
#pragma once

// Whether more memory than there is can be asked for: the address sanitizer stops the program there instead of
// throwing.
#if defined(__SANITIZE_ADDRESS__)
#define CORVANA_TEST_EXHAUSTIBLE_MEMORY 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CORVANA_TEST_EXHAUSTIBLE_MEMORY 0
#else
#define CORVANA_TEST_EXHAUSTIBLE_MEMORY 1
#endif
#else
#define CORVANA_TEST_EXHAUSTIBLE_MEMORY 1
#endif
