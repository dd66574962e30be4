// Stands in front of the host's header of this name: from here on the C library's functions are
// declared as bionic declares them, without a word on exceptions.
#include_next <sys/cdefs.h>
#undef __THROW
#define __THROW
#undef __THROWNL
#define __THROWNL
#undef __NTH
#define __NTH(function) function
