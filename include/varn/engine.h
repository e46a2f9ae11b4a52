/// Values that the engine side keeps: the NVRAM table, the power file, the firmware identity,
/// and their words in documents.
///
/// NVRAM table, 288 bytes, little-endian, "/datafs/nvram.bin". The library reads the file and
/// writes only through the engine (mvtc_write_nvram), which owns it. Fields used:
/// 0 u32 feeder pages; 8 u32 flatbed pages; 12, 13, 14 u8 month, day, year of manufacture;
/// 25 serial number, 10 characters; 76 u32 panel language; 176 asset number, 64 bytes,
/// terminated; 241 UUID, 36 characters.
/// Power file "/datafs/kobnvram.bin": four u32 words; 0 auto-off information, 2 minutes to sleep,
/// 3 minutes to auto-off.
#ifndef VARN_ENGINE_H
#define VARN_ENGINE_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Reads the table (288 bytes) from its file. Returns 0; -1 when the file does not open, with
/// `table` left alone. A short file fills what it has.
VARN_API int32_t read_nvram(void *table);
/// Writes the file itself. Returns 0 or -1. The engine owns the write path: nothing calls this.
VARN_API int32_t write_nvram(void *table);
/// Move word 0 of the power file (4 bytes). Return 0; -1 for null or a file that does not open.
VARN_API int32_t read_AutoOffInfo(void *word);
VARN_API int32_t write_AutoOffInfo(const void *word);

/// Firmware version "/tmp/fw_ver.txt" and date "/tmp/fw_verdate.txt" as text.
/// dst       128 bytes. Return 0; -1 when the file does not open, with `dst` left alone
VARN_API int32_t read_FW_version(char *dst);
VARN_API int32_t read_FW_date(char *dst);
/// Memory size in megabytes as text, "/tmp/ftdram.txt". dst 16 bytes. Returns as above.
VARN_API int32_t read_FW_dram_size(char *dst);

/// Service identifier: two digits of the year plus ten ("00" for year 0), three digits of the
/// day in a year of 30-day months.
/// dst       at least 8 bytes
/// table     the NVRAM table
/// returns   0; -1 for a null argument
VARN_API int32_t read_service_id(char *dst, const uint8_t *table);

/// Panel language word from byte 76 of the NVRAM file. dst at least 8 bytes. 0, or -1 when the
/// file does not open.
VARN_API int32_t set_str_devicelanguage(char *dst);
/// Sleep-time word from word 2 of the power file; 13 and 15 both read "15minutes", 280 reads
/// "4hours". dst at least 16 bytes, left alone when the value has no word. 0, or -1 when the
/// file does not open.
VARN_API int32_t set_str_powersavetime(char *dst);
/// Auto-off code of the document (0 never, 5 20 minutes, 7 1 hour, 8 2 hours, 10 4 hours,
/// 14 8 hours) from word 3 of the power file; left alone when the value has no code. 0, or -1
/// when the file does not open.
VARN_API int32_t set_enum_autoofftime(uint32_t *code);

/// Minutes of a settable auto-off code. 0; -1 for any other code, with `minutes` left alone.
/// One hour can be shown but not set.
VARN_API int32_t map_autoofftime2kobnvram(int32_t code, uint32_t *minutes);
/// 0 for the codes 0, 5, 8, 10 and 14, else -1.
VARN_API int32_t is_xmlenum_valid_autoofftime(uint32_t code);
/// Minutes of a sleep-time word ("15minutes" is 13). An unknown word gives all ones. Returns 0;
/// -1 for a null argument.
VARN_API int32_t map_powersavetime2kobnvram(const char *text, uint32_t *minutes);
/// 0 when the model offers this sleep time (DevMgmt_AdjustPlatSleepRange); negative otherwise.
VARN_API int32_t is_xmlstr_valid_powersavetime(const char *text);
/// Code of a language word; an unknown word is English, 0. Returns 0; -1 for null.
VARN_API int32_t map_xmlstr2st_productconfig_devicelanguge(const char *text, uint32_t *code);

/// Hands a firmware package to the engine; the three words go to mvtc_write_fwpackage as they
/// are. Returns the engine's result.
VARN_API int32_t KOB_UpdateFWPackage(uint32_t fd, uintptr_t a, uintptr_t b, uintptr_t c);
/// Factory defaults. Returns the engine's result; 500 for a negative one.
VARN_API int32_t KOB_FactoryDefault(uint32_t fd);
/// Writes the NVRAM table from a document of libnvram_xml's form. Fields that the document does
/// not name keep the value of the NVRAM file. Returns the engine's result; 500 when it is
/// negative; 400 for a document that libnvram_xml refuses, with nothing written.
VARN_API int32_t KOB_PostNVRamXML(uint32_t fd, const char *xml);
/// The table as a document, read from the engine. Returns 0; 500 when the engine fails; -1 when
/// "/tmp/scanner_nvram.xml" cannot be read back.
VARN_API int32_t KOB_GetNVRamXML(uint32_t fd, char **out_buf, uint32_t *out_len);

VARN_END_DECLS

#endif
