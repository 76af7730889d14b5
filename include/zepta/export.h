/* Marks the declarations that form the library's binary interface. Everything
 * else is compiled with hidden visibility. */
#ifndef ZEPTA_EXPORT_H
#define ZEPTA_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define ZEPTA_API __attribute__((visibility("default")))
#else
#define ZEPTA_API
#endif

#endif
