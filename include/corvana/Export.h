// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what a shared library shows to the outside; everything else stays hidden.
/// One macro serves all five libraries: on ELF the same attribute is right for building and for using.
#define CORVANA_API __attribute__((visibility("default")))
