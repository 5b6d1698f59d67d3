#include "png_write.h"

#include <stdlib.h>
#include <string.h>

namespace {

unsigned long Crc32(unsigned long crc, const unsigned char *data, size_t size)
{
    static unsigned long table[256];
    if (table[1] == 0) {
        for (unsigned long n = 0; n < 256; n++) {
            unsigned long c = n;
            for (int k = 0; k < 8; k++)
                c = (c & 1) ? 0xEDB88320UL ^ (c >> 1) : c >> 1;
            table[n] = c;
        }
    }
    crc ^= 0xFFFFFFFFUL;
    for (size_t i = 0; i < size; i++)
        crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return crc ^ 0xFFFFFFFFUL;
}

void PutBE32(unsigned char *p, unsigned long v)
{
    p[0] = (unsigned char)(v >> 24);
    p[1] = (unsigned char)(v >> 16);
    p[2] = (unsigned char)(v >> 8);
    p[3] = (unsigned char)v;
}

struct Buffer {
    unsigned char *data;
    size_t size;
    size_t capacity;
};

bool Append(Buffer *b, const void *src, size_t n)
{
    if (b->size + n > b->capacity) {
        size_t cap = (b->capacity + n) * 2;
        unsigned char *p = (unsigned char *)realloc(b->data, cap);
        if (!p)
            return false;
        b->data = p;
        b->capacity = cap;
    }
    memcpy(b->data + b->size, src, n);
    b->size += n;
    return true;
}

bool AppendChunk(Buffer *out, const char *type, const unsigned char *data, size_t size)
{
    unsigned char head[8];
    PutBE32(head, (unsigned long)size);
    memcpy(head + 4, type, 4);
    unsigned long crc = Crc32(0, head + 4, 4);
    crc = Crc32(crc, data, size);
    unsigned char tail[4];
    PutBE32(tail, crc);
    return Append(out, head, 8) && Append(out, data, size) && Append(out, tail, 4);
}

} // namespace

int WritePngFile(const wchar_t *path, int width, int height, const unsigned char *rgb)
{
    /* Raw scan lines: a filter byte (0) and the pixels of each row. */
    size_t row = (size_t)width * 3 + 1;
    size_t raw_size = row * (size_t)height;
    unsigned char *raw = (unsigned char *)malloc(raw_size ? raw_size : 1);
    if (!raw) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    for (int y = 0; y < height; y++) {
        raw[row * y] = 0;
        memcpy(raw + row * y + 1, rgb + (size_t)width * 3 * y, (size_t)width * 3);
    }

    /* zlib stream of stored deflate blocks. */
    Buffer z = {};
    const unsigned char zhead[2] = {0x78, 0x01};
    bool ok = Append(&z, zhead, 2);
    size_t pos = 0;
    do {
        size_t n = raw_size - pos > 65535 ? 65535 : raw_size - pos;
        unsigned char bh[5];
        bh[0] = (pos + n == raw_size) ? 1 : 0;
        bh[1] = (unsigned char)(n & 0xFF);
        bh[2] = (unsigned char)(n >> 8);
        bh[3] = (unsigned char)(~n & 0xFF);
        bh[4] = (unsigned char)((~n >> 8) & 0xFF);
        ok = ok && Append(&z, bh, 5) && Append(&z, raw + pos, n);
        pos += n;
    } while (pos < raw_size);
    unsigned long a = 1, b = 0;
    for (size_t i = 0; i < raw_size; i++) {
        a = (a + raw[i]) % 65521;
        b = (b + a) % 65521;
    }
    unsigned char adler[4];
    PutBE32(adler, (b << 16) | a);
    ok = ok && Append(&z, adler, 4);
    free(raw);

    Buffer png = {};
    static const unsigned char signature[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    unsigned char ihdr[13];
    PutBE32(ihdr, (unsigned long)width);
    PutBE32(ihdr + 4, (unsigned long)height);
    ihdr[8] = 8;  /* bit depth */
    ihdr[9] = 2;  /* colour type: RGB */
    ihdr[10] = ihdr[11] = ihdr[12] = 0;
    ok = ok && Append(&png, signature, 8) && AppendChunk(&png, "IHDR", ihdr, 13) &&
         AppendChunk(&png, "IDAT", z.data, z.size) && AppendChunk(&png, "IEND", nullptr, 0);
    free(z.data);
    if (!ok) {
        free(png.data);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }

    HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        free(png.data);
        return 0;
    }
    DWORD written = 0;
    BOOL wrote = WriteFile(file, png.data, (DWORD)png.size, &written, nullptr);
    DWORD error = GetLastError();
    CloseHandle(file);
    free(png.data);
    if (!wrote || written != png.size) {
        SetLastError(error ? error : ERROR_WRITE_FAULT);
        return 0;
    }
    return 1;
}

int CaptureWindowPng(HWND window, const wchar_t *path)
{
    RECT rc;
    if (!GetWindowRect(window, &rc))
        return 0;
    int width = rc.right - rc.left, height = rc.bottom - rc.top;
    if (width <= 0 || height <= 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    /* Everything queued for the window is painted before the copy. */
    RedrawWindow(window, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);

    HDC screen = GetDC(nullptr);
    HDC mem = CreateCompatibleDC(screen);
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof(bi.bmiHeader);
    bi.bmiHeader.biWidth = width;
    bi.bmiHeader.biHeight = -height; /* top-down */
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    bi.bmiHeader.biCompression = BI_RGB;
    void *bits = nullptr;
    HBITMAP dib = CreateDIBSection(screen, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    int result = 0;
    if (dib && mem) {
        HGDIOBJ old = SelectObject(mem, dib);
        BitBlt(mem, 0, 0, width, height, screen, rc.left, rc.top, SRCCOPY);
        SelectObject(mem, old);
        GdiFlush();
        unsigned char *rgb = (unsigned char *)malloc((size_t)width * height * 3);
        if (rgb) {
            const unsigned char *src = (const unsigned char *)bits;
            for (size_t i = 0; i < (size_t)width * height; i++) {
                rgb[i * 3] = src[i * 4 + 2];
                rgb[i * 3 + 1] = src[i * 4 + 1];
                rgb[i * 3 + 2] = src[i * 4];
            }
            result = WritePngFile(path, width, height, rgb);
            free(rgb);
        } else {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        }
    }
    if (dib)
        DeleteObject(dib);
    if (mem)
        DeleteDC(mem);
    ReleaseDC(nullptr, screen);
    return result;
}
