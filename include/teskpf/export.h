/* TESKPF_API marks the library's public API. The library is compiled with
   every symbol hidden, so a shared libteskpf exports exactly the classes and
   functions marked with it, and nothing of its internals. Building the
   library and using it need the same attribute, and in a static library it
   is harmless. TESKPF_LOCAL keeps hidden a private part of an exported
   class that is or takes an internal type (the editor's state, the
   document's constructor from its data). Included from C and C++. */
#ifndef TESKPF_EXPORT_H
#define TESKPF_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define TESKPF_API __attribute__((visibility("default")))
#define TESKPF_LOCAL __attribute__((visibility("hidden")))
#else
#define TESKPF_API
#define TESKPF_LOCAL
#endif

#endif
