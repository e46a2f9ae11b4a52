/// Contract of libnvram_xml: conversion between the 288-byte NVRAM table and an XML text.
///
/// The document is `NvramTable` with one element for each named field (ScanCount, SerialNumber,
/// ...; nvram_xml/fields.h lists them), numbers in decimal, and one `Bytes` element in hexadecimal,
/// with its offset, for each run of bytes between them: a table survives the way there and back to
/// the byte. A text field that XML cannot hold has encoding="hex".
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
/// Returns 0; -1 with `table` left alone for a text that is no such document, names an unknown
/// field or one field twice, has a value out of range, or sets part of a named field as `Bytes`.
int32_t wrapper_xml2nvramformat(const char *xml, void *table);

#ifdef __cplusplus
}
#endif
#endif
