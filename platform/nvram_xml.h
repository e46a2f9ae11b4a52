/// Contract of libnvram_xml: conversion between the 288-byte NVRAM table and an XML text.
#ifndef PLATFORM_NVRAM_XML_H
#define PLATFORM_NVRAM_XML_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Writes the table (288 bytes) as an XML document to `path`, replacing that file.
/// Returns 0, or -1 when the file cannot be written.
int32_t wrapper_nvram2xmlformat(const void *table, const char *path);
/// Reads a document of the form that wrapper_nvram2xmlformat writes into `table` (288 bytes).
/// Fields that the document does not name keep the value they have in `table`.
/// Returns 0; -1 for a text that is no such document or has a value out of range, with `table`
/// left alone.
int32_t wrapper_xml2nvramformat(const char *xml, void *table);

#ifdef __cplusplus
}
#endif
#endif
