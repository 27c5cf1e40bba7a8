// The security helpers: a security descriptor with an access list, built from a list of
// trustees, for handing to a call that creates a named object. Windows only: Linux has no
// access lists for them to map to.
#pragma once

#include <vexapi/core/api.h>
#include <vexapi/core/types.h>

struct _SECURITY_ATTRIBUTES;

// Who a trustee is, when it is not given by a token.
enum SecurityTrusteeKind {
    TrusteeCurrentUser = 1,   // the user of the thread's token, else of the process's
    TrusteeCreatorOwner = 2,  // S-1-3-0
    TrusteeAdministrators = 3, // S-1-5-32-544
    TrusteeUsers = 4,         // S-1-5-32-545
    TrusteeEveryone = 5,      // S-1-1-0
    TrusteeAnonymous = 6      // S-1-5-7; any other kind is the null SID S-1-0-0
};

// One trustee: a kind, or the user of a token, with the access it is allowed.
struct SecurityTrustee {
    int kind;             // 0 when the trustee is given by its token
    void* token;          // a token HANDLE, or (void*)-1 for none
    VULong accessMask;
    SecurityTrustee* next;
};

// The record the helpers fill. Ownership: the record owns the descriptor, the access list
// and every trustee node; FreeSecurityData releases them all.
struct SecurityData {
    void* securityDescriptor;
    void* acl;
    SecurityTrustee* trustees; // the last one added first
};

// A new, zeroed record.
VEXAPI_API SecurityData* ConstructSecurityData();
// Frees the descriptor, the access list, every trustee and the record. Null is ignored.
VEXAPI_API void FreeSecurityData(SecurityData* data);
// Put a trustee on the front of the list; false for a null record.
VEXAPI_API bool AddTrusteeToSecurityData(SecurityData* data, int kind, VULong accessMask);
VEXAPI_API bool AddTokenToSecurityData(SecurityData* data, void* token, VULong accessMask);
// Builds the descriptor: one access-allowed entry per trustee, in list order (at most 100),
// and fills `attributes` with it, inheritable. Gives 1, or 0 when the record already has a
// descriptor or an allocation or initialisation fails (nothing is kept then).
// A trustee whose SID can't be made is tried again until it can: the call returns only
// once every SID is made.
VEXAPI_API int CreateSecurityAttributes(SecurityData* data, _SECURITY_ATTRIBUTES* attributes);
