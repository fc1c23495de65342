#ifndef QUORVEX_EXPORT_H
#define QUORVEX_EXPORT_H

// Everything a host may call carries QUORVEX_API; the rest of the library is
// hidden from the shared object's symbol table.
#if defined(QUORVEX_BUILDING)
#define QUORVEX_API __attribute__((visibility("default")))
#else
#define QUORVEX_API
#endif

#endif
