// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <typeinfo>

namespace Corvana::Test {

/// The class that an object is of. As a function, because clang warns of smart pointers within typeid.
template <class ObjectT>
const std::type_info& typeOf(const ObjectT& in_object)
{
    return typeid(in_object);
}

} // namespace Corvana::Test
