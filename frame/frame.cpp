/// Entry to the library, the allocators of the running context and the shared reader.

#include "varn/frame.h"

#include "frame/words.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdsoap2.h>

int32_t varn_mvt_fd = 0;
struct soap *gSoap = nullptr;
const char *_pXmlBuffer = nullptr;
uint32_t _vXmlBufferOffset = 0;
uint32_t _vXmlBufferMaxLen = 0;
varn_usb_intr_cb USBIntr = nullptr;

int32_t VARN_Init(uint32_t fd) {
    varn_mvt_fd = static_cast<int32_t>(fd);
    return 0;
}

int32_t VARN_SetUSBIntrCB(void *cb) {
    varn::store_word(USBIntr, reinterpret_cast<varn_usb_intr_cb>(cb));
    printf("Set USBIntr as %p\n", cb);
    return 0;
}

int32_t VARN_ValidUSBIntrCB(void) {
    printf("Get USBIntr as %p\n", reinterpret_cast<void *>(USBIntr));
    return USBIntr != nullptr ? 1 : 0;
}

int32_t VARN_USBIntr(uint8_t *data, uint32_t length) {
    VARN_ValidUSBIntrCB();
    // Read once: the callback may be taken away by another thread meanwhile.
    if (const varn_usb_intr_cb notify = varn::load_word(USBIntr); notify != nullptr)
        notify(data, length);
    return 0;
}

void varn_InitializeMyMalloc(struct soap *soap) { gSoap = soap; }

void *MyMalloc(int32_t n) {
    if (n < 1 || gSoap == nullptr)
        return nullptr;
    void *block = soap_malloc(gSoap, static_cast<size_t>(n));
    if (block != nullptr)
        memset(block, 0, static_cast<size_t>(n));
    return block;
}

void *CopyNumbers(uint32_t value) {
    void *block = MyMalloc(5);
    if (block != nullptr)
        memcpy(block, &value, sizeof value);
    return block;
}

char *CopyString(const char *s) {
    if (s == nullptr)
        return nullptr;
    const size_t length = strlen(s);
    auto *copy = length < INT32_MAX
                     ? static_cast<char *>(MyMalloc(static_cast<int32_t>(length) + 1))
                     : nullptr;
    if (copy != nullptr)
        memcpy(copy, s, length + 1);
    return copy;
}

void varn_clearXmlBuffer(void) {
    _vXmlBufferOffset = 0;
    _vXmlBufferMaxLen = 0;
}

void varn_setXmlBuffer(const char *xml) {
    printf("_vXmlBufferMaxLen3=%d\n", static_cast<int>(_vXmlBufferMaxLen));
    _pXmlBuffer = xml;
    _vXmlBufferOffset = 0;
}

size_t varn_recv(struct soap *, char *dst, size_t n) {
    if (_pXmlBuffer == nullptr || _vXmlBufferOffset > _vXmlBufferMaxLen)
        return 0;
    const size_t count = std::min<size_t>(n, _vXmlBufferMaxLen - _vXmlBufferOffset);
    if (count > 0)
        memcpy(dst, _pXmlBuffer + _vXmlBufferOffset, count);
    _vXmlBufferOffset += static_cast<uint32_t>(count);
    return count;
}
