/*
 * Small non-copyable owners of Win32 handles. Each closes its handle when it
 * goes out of scope and leaves the thread's last error as it found it, so a
 * failing function can return 0 with its reason intact.
 */
#ifndef PELNOR_SCOPED_WIN_H
#define PELNOR_SCOPED_WIN_H

#include <windows.h>

class ScopedFile {
public:
    explicit ScopedFile(HANDLE h = INVALID_HANDLE_VALUE) : h_(h) {}
    ~ScopedFile() { Close(); }
    ScopedFile(const ScopedFile &) = delete;
    ScopedFile &operator=(const ScopedFile &) = delete;

    HANDLE get() const { return h_; }
    bool valid() const { return h_ != INVALID_HANDLE_VALUE; }
    void reset(HANDLE h) { Close(); h_ = h; }
    HANDLE release() { HANDLE h = h_; h_ = INVALID_HANDLE_VALUE; return h; }
    void Close()
    {
        if (h_ != INVALID_HANDLE_VALUE) {
            DWORD error = GetLastError();
            CloseHandle(h_);
            SetLastError(error);
            h_ = INVALID_HANDLE_VALUE;
        }
    }

private:
    HANDLE h_;
};

class ScopedFindFile {
public:
    explicit ScopedFindFile(HANDLE h) : h_(h) {}
    ~ScopedFindFile()
    {
        if (h_ != INVALID_HANDLE_VALUE) {
            DWORD error = GetLastError();
            FindClose(h_);
            SetLastError(error);
        }
    }
    ScopedFindFile(const ScopedFindFile &) = delete;
    ScopedFindFile &operator=(const ScopedFindFile &) = delete;

    HANDLE get() const { return h_; }
    bool valid() const { return h_ != INVALID_HANDLE_VALUE; }

private:
    HANDLE h_;
};

class ScopedRegKey {
public:
    ScopedRegKey() : key_(nullptr) {}
    ~ScopedRegKey() { Close(); }
    ScopedRegKey(const ScopedRegKey &) = delete;
    ScopedRegKey &operator=(const ScopedRegKey &) = delete;

    HKEY get() const { return key_; }
    HKEY *receive() { Close(); return &key_; }
    void Close()
    {
        if (key_) {
            DWORD error = GetLastError();
            RegCloseKey(key_);
            SetLastError(error);
            key_ = nullptr;
        }
    }

private:
    HKEY key_;
};

class ScopedGetDC {
public:
    explicit ScopedGetDC(HWND window) : window_(window), dc_(GetDC(window)) {}
    ~ScopedGetDC() { ReleaseDC(window_, dc_); }
    ScopedGetDC(const ScopedGetDC &) = delete;
    ScopedGetDC &operator=(const ScopedGetDC &) = delete;
    operator HDC() const { return dc_; }

private:
    HWND window_;
    HDC dc_;
};

/* Selects an object into a DC and puts the previous one back. */
class ScopedSelectObject {
public:
    ScopedSelectObject(HDC dc, HGDIOBJ object) : dc_(dc), old_(object ? SelectObject(dc, object) : nullptr) {}
    ~ScopedSelectObject()
    {
        if (old_)
            SelectObject(dc_, old_);
    }
    ScopedSelectObject(const ScopedSelectObject &) = delete;
    ScopedSelectObject &operator=(const ScopedSelectObject &) = delete;

private:
    HDC dc_;
    HGDIOBJ old_;
};

template <typename T> class ScopedGdiObject {
public:
    explicit ScopedGdiObject(T object = nullptr) : object_(object) {}
    ~ScopedGdiObject()
    {
        if (object_)
            DeleteObject(object_);
    }
    ScopedGdiObject(const ScopedGdiObject &) = delete;
    ScopedGdiObject &operator=(const ScopedGdiObject &) = delete;
    T get() const { return object_; }
    operator T() const { return object_; }

private:
    T object_;
};

#endif
