#ifndef KO_STORE_BASE_HIDDEN_H
#define KO_STORE_BASE_HIDDEN_H

/// For what a class that is exported keeps to itself: it would be exported with it.
#define KOSTORE_HIDDEN __attribute__((visibility("hidden")))

#endif
