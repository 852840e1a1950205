/* SPDX-License-Identifier: BSD-3-Clause */
#include "Veltrand/GL/detail/Glad.h"

/* The functions that load one version are static. */
#include "src/gl.c"

static GLADapiproc loadNothing(void* userptr, const char* name) {
    (void)userptr;
    (void)name;
    return NULL;
}

#define FORGET_UNLESS_LOADED(version)                                                                        \
    if (!GLAD_##version) {                                                                                   \
        GLAD_##version = 1;                                                                                  \
        glad_gl_load_##version(loadNothing, NULL);                                                           \
        GLAD_##version = 0;                                                                                  \
    }

int veltrandLoadGL(VeltrandEntryPoint (*lookup)(const char* name)) {
    const int version = gladLoadGL(lookup);
    FORGET_UNLESS_LOADED(GL_VERSION_4_0)
    FORGET_UNLESS_LOADED(GL_VERSION_4_1)
    FORGET_UNLESS_LOADED(GL_VERSION_4_2)
    FORGET_UNLESS_LOADED(GL_VERSION_4_3)
    FORGET_UNLESS_LOADED(GL_VERSION_4_4)
    FORGET_UNLESS_LOADED(GL_VERSION_4_5)
    FORGET_UNLESS_LOADED(GL_VERSION_4_6)
    /* Its functions are among those of 4.3. */
    glad_gl_load_GL_KHR_debug(glad_gl_get_proc_from_userptr, GLAD_GNUC_EXTENSION(void*) lookup);
    return version;
}
