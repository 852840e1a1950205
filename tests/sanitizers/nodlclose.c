/* SPDX-License-Identifier: BSD-3-Clause */
/* Keeps drivers mapped, so that the stacks of leak reports name their module. */
__attribute__((visibility("default"))) int dlclose(void* handle) {
    (void)handle;
    return 0;
}
