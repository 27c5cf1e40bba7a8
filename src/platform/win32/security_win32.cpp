// The security helpers: SIDs for trustees, the access list and the security descriptor.
#include <vexapi/platform/win32/securitydata.h>

#include <windows.h>

#include <vector>

namespace {

const int MaxTrustees = 100;
HANDLE const NoToken = reinterpret_cast<HANDLE>(-1);

// A SID copied into LocalAlloc memory, whatever made it, so that one LocalFree releases it.
PSID copySid(PSID sid)
{
    DWORD length = GetLengthSid(sid);
    PSID copy = LocalAlloc(LMEM_FIXED, length);
    if (copy && !CopySid(length, copy, sid)) {
        LocalFree(copy);
        copy = nullptr;
    }
    return copy;
}

PSID tokenUserSid(HANDLE token)
{
    DWORD length = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &length);
    if (length == 0)
        return nullptr;
    std::vector<unsigned char> buffer(length);
    if (!GetTokenInformation(token, TokenUser, buffer.data(), length, &length))
        return nullptr;
    return copySid(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid);
}

PSID currentUserSid()
{
    HANDLE token = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token)) {
        // ERROR_NO_TOKEN: the thread does not impersonate; its user is the process's.
        if (GetLastError() != ERROR_NO_TOKEN
            || !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
            return nullptr;
    }
    PSID sid = tokenUserSid(token);
    CloseHandle(token);
    return sid;
}

PSID wellKnownSid(int kind)
{
    SID_IDENTIFIER_AUTHORITY authority = {{0, 0, 0, 0, 0, 0}};
    BYTE count = 1;
    DWORD first = 0;
    DWORD second = 0;
    switch (kind) {
    case TrusteeCreatorOwner:
        authority.Value[5] = 3;
        break;
    case TrusteeAdministrators:
        authority.Value[5] = 5;
        count = 2;
        first = SECURITY_BUILTIN_DOMAIN_RID;
        second = DOMAIN_ALIAS_RID_ADMINS;
        break;
    case TrusteeUsers:
        authority.Value[5] = 5;
        count = 2;
        first = SECURITY_BUILTIN_DOMAIN_RID;
        second = DOMAIN_ALIAS_RID_USERS;
        break;
    case TrusteeEveryone:
        authority.Value[5] = 1;
        break;
    case TrusteeAnonymous:
        authority.Value[5] = 5;
        first = SECURITY_ANONYMOUS_LOGON_RID;
        break;
    default:
        break; // the null SID, authority 0 and sub-authority 0
    }
    PSID sid = nullptr;
    if (!AllocateAndInitializeSid(&authority, count, first, second, 0, 0, 0, 0, 0, 0, &sid))
        return nullptr;
    PSID copy = copySid(sid);
    FreeSid(sid);
    return copy;
}

PSID makeSid(const SecurityTrustee& trustee)
{
    if (trustee.token != NoToken)
        return tokenUserSid(trustee.token);
    if (trustee.kind == TrusteeCurrentUser)
        return currentUserSid();
    return wellKnownSid(trustee.kind);
}

void freeSids(std::vector<PSID>& sids)
{
    for (PSID sid : sids)
        LocalFree(sid);
    sids.clear();
}

bool push(SecurityData* data, int kind, HANDLE token, VULong accessMask)
{
    if (!data)
        return false;
    data->trustees = new SecurityTrustee{kind, token, accessMask, data->trustees};
    return true;
}

} // namespace

SecurityData* ConstructSecurityData()
{
    return new SecurityData{nullptr, nullptr, nullptr};
}

void FreeSecurityData(SecurityData* data)
{
    if (!data)
        return;
    if (data->securityDescriptor)
        LocalFree(data->securityDescriptor);
    if (data->acl)
        LocalFree(data->acl);
    while (SecurityTrustee* trustee = data->trustees) {
        data->trustees = trustee->next;
        delete trustee;
    }
    delete data;
}

bool AddTrusteeToSecurityData(SecurityData* data, int kind, VULong accessMask)
{
    return push(data, kind, NoToken, accessMask);
}

bool AddTokenToSecurityData(SecurityData* data, void* token, VULong accessMask)
{
    return push(data, 0, token, accessMask);
}

int CreateSecurityAttributes(SecurityData* data, _SECURITY_ATTRIBUTES* attributes)
{
    if (!data || !attributes || data->securityDescriptor)
        return 0;
    PSECURITY_DESCRIPTOR descriptor = LocalAlloc(LMEM_FIXED, SECURITY_DESCRIPTOR_MIN_LENGTH);
    if (!descriptor)
        return 0;
    if (!InitializeSecurityDescriptor(descriptor, SECURITY_DESCRIPTOR_REVISION)) {
        LocalFree(descriptor);
        return 0;
    }

    std::vector<PSID> sids;
    std::vector<VULong> masks;
    for (SecurityTrustee* trustee = data->trustees;
         trustee && int(sids.size()) < MaxTrustees;) {
        PSID sid = makeSid(*trustee);
        // A SID that can't be made (a transient shortage) holds the walk on this trustee and
        // is tried again: every trustee given gets its entry.
        if (!sid)
            continue;
        sids.push_back(sid);
        masks.push_back(trustee->accessMask);
        trustee = trustee->next;
    }

    // The header, and per entry the access-allowed record (8 bytes) with its SID.
    DWORD aclSize = sizeof(ACL);
    for (PSID sid : sids)
        aclSize += sizeof(ACCESS_ALLOWED_ACE) - sizeof(DWORD) + GetLengthSid(sid);
    PACL acl = static_cast<PACL>(LocalAlloc(LMEM_FIXED, aclSize));
    bool built = acl && InitializeAcl(acl, aclSize, ACL_REVISION);
    for (std::size_t i = 0; built && i < sids.size(); ++i)
        built = AddAccessAllowedAce(acl, ACL_REVISION, masks[i], sids[i]) != FALSE;
    built = built && SetSecurityDescriptorDacl(descriptor, TRUE, acl, FALSE);
    freeSids(sids);
    if (!built) {
        if (acl)
            LocalFree(acl);
        LocalFree(descriptor);
        return 0;
    }

    data->securityDescriptor = descriptor;
    data->acl = acl;
    attributes->nLength = sizeof(SECURITY_ATTRIBUTES);
    attributes->lpSecurityDescriptor = descriptor;
    attributes->bInheritHandle = TRUE;
    return 1;
}
