/// The XML files on flash that hold what the panel and the network services configure.
///
/// A file is an XML declaration and one element with its children; every value is a text. A
/// record is a block of bytes with fields at fixed places; a field ends with its first zero byte
/// or with its width, the last one of a record with its zero, which must be there.
///
///   "/datafs/ESMTP.xml", netESMTP (factory content behind the colon, none is empty):
///     EmailAddress 0, 128; ServerName 128, 256; ServerPort 384, 10; Security 394, 10: "ON";
///     UserName 404, 256; Password from 660
///   "/datafs/NTPSetting.xml", netNTPSetting:
///     NTP_Flag 0, 10: "Disable"; NTPServer from 10
///   "/datafs/Advanced_setting.xml", Advanced, 10 bytes each, "Enable" each:
///     IPv4, IPv6, DHCP, DHCPv6, Bonjour, WS-Discovery, WS-Scan, Telnet
///   "/datafs/SecurityAdmin.xml", netSecuritySetting, no children by default:
///     SecurityUser 0, 128; SecurityPassword from 128
///   "/datafs/ScanSettings.xml", netScanSetting:
///     EnableNetworkFolder 0, 10: "ON"; EnableEmail 10, 10: "ON"; then for folders FolderPrefix
///     20, 128: "scan"; FolderFileType 148, 10: "Scan_PDF"; FolderResolution 158, 10: "DPI_200";
///     FolderColor 168, 20: "SCAN_COLOR"; FolderStraightenContent 188, 10: "ON";
///     FolderDeleteBlankPage 198, 10: "OFF"; FolderMisfeedDetection 208, 10: "ON";
///     FolderCombineDocument 218, 10: "ON"; for mail EmailSubject 228, 256 and EmailBodyText 484,
///     2048, both base64 ("TlVMTA==" is "NULL"); EmailPrefix 2532, 128: "scan"; and, without their
///     l, EmaiFileType 2660, 10; EmaiResolution 2670, 10; EmaiColor 2680, 20;
///     EmaiStraightenContent 2700, 10; EmaiDeleteBlankPage 2710, 10; EmaiMisfeedDetection 2720,
///     10; EmaiCombineDocument from 2730, with the same content as for folders
///   "/datafs/AddressBook.xml", netAddressBook, up to 50 children Host with Row and EmailAddress:
///     Row 0, 20; EmailAddress from 20
///   "/datafs/Smb.xml", netShareFolder, up to 50 children Host with Row, DisplayName, NetworkPath,
///     UserName, Password and PIN ("NULL" for none):
///     Row 0, 20; DisplayName 20, 128; NetworkPath 148, 256; UserName 404, 128; Password 532, 128;
///     PIN from 660
///
/// Row is the number of a record, decimal, from 1, without gaps in the file's order. Values keep
/// every character that XML can hold; white space around them is lost on reading. A value with
/// control characters or broken UTF-8 is stored as an empty element, in a list entry as none: the
/// entry is not added. A kill in the middle of a writer of a whole file leaves a part of it; the
/// next call begins with an empty one.
///
/// Null for a record does nothing. What must not overlap: any two functions of this header, and a
/// writer of a file with its readers.
#ifndef VARN_SETTINGS_FILES_H
#define VARN_SETTINGS_FILES_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Adds the element `name` with a text to a file (device path).
/// parent    name of the top element; "" for the file itself
/// returns   0, also when a step failed: then the file stays as it was
VARN_API int32_t Save_xml_Set(const char *parent, const char *name, const char *value,
                              const char *file);
/// The same in "/datafs/Smb.xml".
VARN_API int32_t Save_SMB_xml_Set(const char *parent, const char *name, const char *value);
/// The same for a text of several lines; without a parent it is one like any other.
VARN_API int32_t Save_email_body_xml_Set(const char *parent, const char *name, const char *value,
                                         const char *file);

/// Write a file with its factory content in place of the old one.
VARN_API void Save_ESMTP_xml_Default(void);
VARN_API void Save_NTPServer_xml_Default(void);
VARN_API void Save_Advanced_xml_Default(void);
VARN_API void Save_SecurityAdmin_xml_Default(void);
VARN_API void Save_ScanSetting_xml_Default(void);
VARN_API void Save_AddressBook_xml_Default(void);
VARN_API void Save_SMB_xml_Default(void);

/// Write a file with one record in place of the old one.
VARN_API void Add_ESMTP_xml(const void *record);
VARN_API void Add_NTPServer_xml(const void *record);
/// Names the seventh element "WS-Scan ", with a blank behind it, which the default does not have.
VARN_API void Add_Advanced_xml(const void *record);
VARN_API void Add_SecurityAdmin_xml(const void *record);
VARN_API void Add_ScanSetting_xml(const void *record);

/// Give the entry of the record's Row its values, or add one with the next Row. The 51st is not
/// added. Without the file, or without its top element, nothing is done. The last addition stays
/// in "/datafs/AddressBook_temp.xml" and "/datafs/Smb_temp.xml".
VARN_API void Add_AddressBook_xml(const void *record);
VARN_API void Add_SMB_xml(const char *row, const char *display, const char *path, const char *user,
                          const char *password, const char *pin);

/// Log a record, but for what is secret in it, and add it with the function of its file.
VARN_API void update_ESMTP(const void *record);
VARN_API void update_NTPServer(const void *record);
VARN_API void update_Advanced(const void *record);
VARN_API void update_SecurityAdmin(const void *record);
VARN_API void update_ScanSetting(const void *record);
VARN_API void update_AddressBook(const void *record);
VARN_API void update_ShareFolder(const void *record);

/// Takes the element EmailAddress out of "/datafs/ESMTP.xml" when its text is `address`; the rest
/// of the file stays. Returns 0; -1 for null, and without the file or its top element.
VARN_API int32_t Del_ESMTP_xml(const char *address);
/// Takes the entry of that Row out of the list and numbers the others anew. Returns 0, also when
/// there is none; -1 as above.
VARN_API int32_t Del_AddressBook_xml(const char *row);
VARN_API int32_t Del_SMB_xml(const char *row);

VARN_END_DECLS

#endif
