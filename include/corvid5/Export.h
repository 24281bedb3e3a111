// Symbol visibility for the library's public interface.
#ifndef CORVID5_EXPORT_H
#define CORVID5_EXPORT_H

#define CORVID5_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define CORVID5_EXTERN_C extern "C"
#else
#define CORVID5_EXTERN_C
#endif

#endif
