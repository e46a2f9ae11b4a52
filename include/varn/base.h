/// What every public header of libvarn shares: the export mark and the root of the device tree.
#ifndef VARN_BASE_H
#define VARN_BASE_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define VARN_API __attribute__((visibility("default")))
#else
#define VARN_API
#endif

#ifdef __cplusplus
#define VARN_BEGIN_DECLS extern "C" {
#define VARN_END_DECLS }
#else
#define VARN_BEGIN_DECLS
#define VARN_END_DECLS
#endif

VARN_BEGIN_DECLS

/// Puts a directory in front of every path and inside every shell command that the library uses.
///
/// The library works on the device's own absolute paths ("/tmp/xml_tickets/...", "/datafs/...").
/// With a root they are taken below that directory, so that several device trees can live on one
/// machine. Null or "" puts the default back: no root.
/// dir       copied; made absolute; at most 3000 bytes
/// returns   0; -1 when `dir` is no directory or too long, and the root stays as it was
/// overlap   with no other call of the library: set it once, before the first resource call
VARN_API int32_t VARN_SetRoot(const char *dir);

VARN_END_DECLS

#endif
