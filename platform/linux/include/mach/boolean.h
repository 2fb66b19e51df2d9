#pragma once

#if defined(__x86_64__)
typedef unsigned int boolean_t;
#else
typedef int boolean_t;
#endif

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
