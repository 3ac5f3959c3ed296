/*
 * Tarnwick: the small utility library that Polyfex and its hosts share.
 *
 * It holds the message sink (Error_Fct) with a host-installable handler, the
 * process-wide error-text buffer, the three progress pointers, path splitting,
 * UTF-8 <-> wide conversions, binary field access and the two small maths
 * records Vector_4 and Matrix_4x4.
 *
 * The records and the data items compile as C. The functions have C linkage
 * where their name is unique; the wide overloads of Error_Fct and
 * Get_Generic_Name exist for C++ callers only.
 */
#ifndef TARNWICK_H
#define TARNWICK_H

#include <stddef.h>
#include <wchar.h>

/* Default visibility on both sides, so that a library built with hidden
   visibility still binds these names dynamically. */
#define TARNWICK_API __attribute__((visibility("default")))

typedef void* HWND;

/* Four floats x, y, z, w. Plain data: a zero-filled block is a valid vector. */
typedef struct Vector_4 {
    float x, y, z, w;
#ifdef __cplusplus
    /* All four components. */
    TARNWICK_API Vector_4& operator+=(const Vector_4& o);
    /* All four components divided by s (IEEE rules: s = 0 gives inf or nan). */
    TARNWICK_API Vector_4& operator/=(float s);
    /* A copy whose x, y, z have unit length; w is copied unchanged.
       A vector whose x, y, z are all zero (or whose length is not finite and
       positive) comes back as (0, 0, 0, w): a degenerate direction stays zero
       and never turns into nan. */
    TARNWICK_API Vector_4 normalise() const;
#endif
} Vector_4;

/* Sixteen doubles, row-major; m[r][c]. */
typedef struct Matrix_4x4 {
    double m[4][4];
#ifdef __cplusplus
    double* operator[](int row) { return m[row]; }
    const double* operator[](int row) const { return m[row]; }
    /* The identity. */
    TARNWICK_API void init();
#endif
} Matrix_4x4;

/* Capacity, in wide characters (terminator included), of Kren_Err_Str. */
#define TARNWICK_ERR_STR_CAP 512

/* Receives every formatted line. `line` is valid during the call only. */
typedef void (*Tarnwick_Handler)(unsigned int flag, const wchar_t* line, void* user);

#ifdef __cplusplus
extern "C" {
#endif

/* The host's window handle, passed through to the sink untouched. */
TARNWICK_API extern HWND hwnd;
/* Shared error-text buffer; callers copy Error_Perror's text into it. */
TARNWICK_API extern wchar_t Kren_Err_Str[TARNWICK_ERR_STR_CAP];

/* Progress pointers: null unless the host sets them. */
TARNWICK_API extern void (*Util_Progress_Start)(int total);
TARNWICK_API extern void (*Util_Progress_Inc)(int amount);
TARNWICK_API extern void (*Util_Progress_PingPong)(float working);

/* Installs the handler that receives every line; null restores the default,
   which writes MSG_USER (2) and MSG_MEMORY (1) lines to stderr as UTF-8 with
   the markup characters removed and drops every other line. */
TARNWICK_API void Tarnwick_Set_Handler(Tarnwick_Handler handler, void* user);

/* The message sink, narrow format form. Formats one line (printf rules,
   independent of the process locale; %ls takes a wide string, %hs and %s a
   narrow UTF-8 one; a null string prints as "(null)") and hands the flag and
   the wide line to the handler. Returns the handler's view: always 1. */
TARNWICK_API int Error_Fct(HWND h, unsigned int flag, const char* format, ...);

/* Describes an errno value (wide, zero-terminated, owned by Tarnwick,
   per thread). */
TARNWICK_API const wchar_t* Error_Perror(int errnum);

/* Splits a path into directory (with its trailing separator), base name and
   extension (with its dot); a null output is skipped. '/' and '\\' both
   separate. Outputs must hold the path's length + 1 characters. */
TARNWICK_API void Get_Generic_Name(const char* path, char* dir, char* name, char* ext);

/* UTF-8 -> wide and wide -> UTF-8. The copy is owned by Tarnwick (one buffer
   per thread and direction, valid until the next call); null in, null out. */
TARNWICK_API wchar_t* Char_2_Wchar(const char* text);
TARNWICK_API char* Wchar_2_Char(const wchar_t* text);

/* Decimal text of v with thousands grouped by commas ("1,234,567").
   Written into buf when it is non-null (at least 32 bytes), otherwise into a
   per-thread buffer of Tarnwick's. */
TARNWICK_API char* Int_2_Str(long long v, char* buf);

/* The 32-bit value stored at bytes (little-endian file order), byte order
   reversed when swap is 1. */
TARNWICK_API int Get_Int(int swap, const void* bytes);
TARNWICK_API float Get_Float(int swap, const void* bytes);

/* Removes leading and trailing blanks, tabs and line-end characters in
   place; returns line. */
TARNWICK_API char* Str_Strip_Spaces(char* line);

#ifdef __cplusplus
}

/* Wide format form of the sink: same rules as the narrow form. */
TARNWICK_API int Error_Fct(HWND h, unsigned int flag, const wchar_t* format, ...);
/* Wide form of the path splitter. */
TARNWICK_API void Get_Generic_Name(const wchar_t* path, wchar_t* dir, wchar_t* name, wchar_t* ext);
#endif

#endif /* TARNWICK_H */
