// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Marks what libVeltrandGL exports; everything else is hidden.
#define VELTRAND_GL_API __attribute__((visibility("default")))
