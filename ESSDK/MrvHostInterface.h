#pragma once

// The interface between a host of external objects and this library, as the host sees it: plain C, one thread, called by the host's script
// engine. Integers have fixed widths, so that the layout is the same on all 64-bit systems: a tagged value has 16 bytes.

// NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using): for C as well.
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C"
{
#endif

	// What a tagged value holds. Others exist; they aren't used here.
	enum MrvHostType
	{
		MRV_HOST_UNDEFINED = 0,
		MRV_HOST_STRING = 4,
		MRV_HOST_UNSIGNED = 124,
	};

	// One argument or result.
	struct TaggedData_s
	{
		union
		{
			int32_t intval;
			uint32_t uintval;
			double fltval;
			char *string; // UTF-8, ends with a NUL; as a result allocated by the library, to be given to ESFreeMem
			void *hObject;
		} data;
		int32_t type; // MrvHostType
		int32_t filler;
	};
	typedef struct TaggedData_s TaggedData;

	// What exports give back.
	enum MrvHostResult
	{
		MRV_HOST_OK = 0,
		MRV_HOST_BAD_ARGUMENT_COUNT = 20,
		MRV_HOST_REFUSED = 32,
		MRV_HOST_NO_ENGINE = -33,
	};

	// Why ESClientInterface is called; handed over as an int32_t, so that an unknown reason can be refused.
	enum SoCClient_e
	{
		kSoCClient_init = 0,
		kSoCClient_term = 1,
	};

	// The host's own functions; nothing here calls them.
	struct SoServerInterface_s;
	typedef void *SoHServer;

#ifdef __cplusplus
}
#endif
// NOLINTEND(modernize-deprecated-headers, modernize-use-using)
