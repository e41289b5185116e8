// Marks a function as part of the exported C interface of libbayhal.so.
#pragma once
#define BAYHAL_EXPORT extern "C" __attribute__((visibility("default")))
