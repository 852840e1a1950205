/* SPDX-License-Identifier: BSD-3-Clause */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef void (*VeltrandEntryPoint)(void);

/* Loads the entry points of the current context, and clears those of versions that it lacks: the generated
   loader leaves these as an earlier, newer context had them. 0 when there is no usable context. */
int veltrandLoadGL(VeltrandEntryPoint (*lookup)(const char* name));

#ifdef __cplusplus
}
#endif
