// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Marks what libVeltrandCore exports; everything else is hidden.
#define VELTRAND_CORE_API __attribute__((visibility("default")))
