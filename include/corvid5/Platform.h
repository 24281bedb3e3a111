// The automation and text-conversion interfaces the library speaks at its
// boundary: length-prefixed wide strings, variants, code-page conversion,
// formatted printing and the thread's last error.
//
// Wide characters are 16-bit UTF-16 code units. `long` in the classic
// signatures is 32 bits wide, so it appears here as LONG/ULONG/DWORD.
#ifndef CORVID5_PLATFORM_H
#define CORVID5_PLATFORM_H

#include <corvid5/Export.h>
#include <stdint.h>

typedef unsigned short OLECHAR;
typedef OLECHAR WCHAR;
typedef OLECHAR* BSTR;
typedef const OLECHAR* LPCOLESTR;
typedef const WCHAR* LPCWSTR;
typedef WCHAR* LPWSTR;
typedef const char* LPCSTR;
typedef char* LPSTR;
typedef int BOOL;
typedef uint32_t UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef uint32_t DWORD;
typedef int16_t SHORT;
typedef uint16_t USHORT;
typedef uint16_t VARTYPE;
typedef int32_t HRESULT;

enum VARENUM {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_BSTR = 8,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_INT = 22,
  VT_UINT = 23
};

typedef struct tagVARIANT {
  VARTYPE vt;
  uint16_t wReserved1;
  uint16_t wReserved2;
  uint16_t wReserved3;
  union {
    SHORT iVal;
    LONG lVal;
    USHORT uiVal;
    ULONG ulVal;
    int32_t intVal;
    uint32_t uintVal;
    BSTR bstrVal;
  };
} VARIANT;
typedef VARIANT VARIANTARG;

#define S_OK ((HRESULT)0)
#define DISP_E_BADVARTYPE ((HRESULT)0x80020008)
#define E_INVALIDARG ((HRESULT)0x80070057)

#define CP_ACP 0
#define CP_UTF8 65001
#define MB_PRECOMPOSED 0x00000001
#define MB_ERR_INVALID_CHARS 0x00000008
#define WC_COMPOSITECHECK 0x00000200
#define WC_NO_BEST_FIT_CHARS 0x00000400

#define ERROR_SUCCESS 0
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_PARAMETER 87
#define ERROR_INVALID_FLAGS 1004
#define ERROR_NO_UNICODE_TRANSLATION 1113

#ifdef __cplusplus
extern "C" {
#endif

// Wide strings: a 32-bit byte length stands before the characters and a zero
// unit after them; the pointer handed out addresses the first character.
CORVID5_API BSTR SysAllocString(const OLECHAR* text);
CORVID5_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
CORVID5_API UINT SysStringLen(BSTR text);
CORVID5_API UINT SysStringByteLen(BSTR text);
CORVID5_API void SysFreeString(BSTR text);

CORVID5_API void VariantInit(VARIANTARG* variant);
CORVID5_API HRESULT VariantClear(VARIANTARG* variant);

// Code page 0 (and 65001) is UTF-8. Flags other than MB_ERR_INVALID_CHARS are
// accepted and ignored. Unpaired surrogates become the default character.
CORVID5_API int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength,
                                    LPSTR narrow, int narrowSize, LPCSTR defaultChar,
                                    BOOL* usedDefaultChar);
CORVID5_API int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength,
                                    LPWSTR wide, int wideSize);

// Formats at most 1024 bytes including the terminator; returns the number of
// bytes written without it. `l` marks a 32-bit argument, as the classic ABI had.
CORVID5_API int wsprintfA(LPSTR buffer, LPCSTR format, ...);

CORVID5_API DWORD GetLastError(void);
CORVID5_API void SetLastError(DWORD error);

#ifdef __cplusplus
}
#endif

#endif
