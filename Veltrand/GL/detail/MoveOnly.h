// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <type_traits>

namespace Veltrand::GL {

/// What every owner is: never copied, and moved without an exception.
template<class T>
concept MoveOnly = std::is_nothrow_move_constructible_v<T> && std::is_nothrow_move_assignable_v<T> &&
                   !std::is_copy_constructible_v<T> &&
                   !std::is_copy_assignable_v<T>;

} // namespace Veltrand::GL
