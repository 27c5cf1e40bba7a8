// The security helpers on real access lists: entries, their SIDs and masks, and a
// descriptor that a creating call accepts.
#include <vexapi/app/application.h>
#include <vexapi/platform/win32/securitydata.h>

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<BYTE> wellKnown(WELL_KNOWN_SID_TYPE type)
{
    std::vector<BYTE> sid(SECURITY_MAX_SID_SIZE);
    DWORD size = DWORD(sid.size());
    EXPECT_TRUE(CreateWellKnownSid(type, nullptr, sid.data(), &size)) << type;
    sid.resize(size);
    return sid;
}

std::vector<BYTE> processUser()
{
    HANDLE token = nullptr;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    DWORD size = 0;
    GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    std::vector<BYTE> info(size);
    EXPECT_TRUE(GetTokenInformation(token, TokenUser, info.data(), size, &size));
    CloseHandle(token);
    PSID sid = reinterpret_cast<TOKEN_USER*>(info.data())->User.Sid;
    const BYTE* bytes = static_cast<const BYTE*>(sid);
    return std::vector<BYTE>(bytes, bytes + GetLengthSid(sid));
}

struct Entry {
    std::vector<BYTE> sid;
    ACCESS_MASK mask;
};

// The access-allowed entries of the descriptor's access list, in order.
std::vector<Entry> entriesOf(PSECURITY_DESCRIPTOR descriptor)
{
    std::vector<Entry> entries;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL acl = nullptr;
    EXPECT_TRUE(GetSecurityDescriptorDacl(descriptor, &present, &acl, &defaulted));
    EXPECT_TRUE(present);
    if (!acl)
        return entries;
    EXPECT_EQ(acl->AclRevision, ACL_REVISION);
    for (WORD i = 0; i < acl->AceCount; ++i) {
        void* ace = nullptr;
        EXPECT_TRUE(GetAce(acl, i, &ace));
        auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
        EXPECT_EQ(allowed->Header.AceType, ACCESS_ALLOWED_ACE_TYPE);
        PSID sid = &allowed->SidStart;
        const BYTE* bytes = static_cast<const BYTE*>(sid);
        entries.push_back(Entry{std::vector<BYTE>(bytes, bytes + GetLengthSid(sid)),
                                allowed->Mask});
    }
    return entries;
}

TEST(SecurityData, OneEntryPerTrusteeInListOrder)
{
    SecurityData* data = ConstructSecurityData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->securityDescriptor, nullptr);
    EXPECT_EQ(data->acl, nullptr);
    EXPECT_EQ(data->trustees, nullptr);

    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
    EXPECT_TRUE(AddTrusteeToSecurityData(data, TrusteeEveryone, GENERIC_READ));
    EXPECT_TRUE(AddTrusteeToSecurityData(data, TrusteeAdministrators, GENERIC_ALL));
    EXPECT_TRUE(AddTrusteeToSecurityData(data, TrusteeCurrentUser, 0x1234));
    EXPECT_TRUE(AddTokenToSecurityData(data, token, SYNCHRONIZE));

    // Each is pushed on the front; a token node has kind 0, a kind node no token.
    ASSERT_NE(data->trustees, nullptr);
    EXPECT_EQ(data->trustees->kind, 0);
    EXPECT_EQ(data->trustees->token, token);
    EXPECT_EQ(data->trustees->next->kind, TrusteeCurrentUser);
    EXPECT_EQ(data->trustees->next->token, reinterpret_cast<void*>(-1));

    SECURITY_ATTRIBUTES attributes{};
    ASSERT_EQ(CreateSecurityAttributes(data, &attributes), 1);
    EXPECT_EQ(attributes.nLength, sizeof(SECURITY_ATTRIBUTES));
    EXPECT_EQ(attributes.lpSecurityDescriptor, data->securityDescriptor);
    EXPECT_TRUE(attributes.bInheritHandle);
    EXPECT_TRUE(IsValidSecurityDescriptor(data->securityDescriptor));

    std::vector<Entry> entries = entriesOf(data->securityDescriptor);
    std::vector<BYTE> user = processUser();
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].sid, user);
    EXPECT_EQ(entries[0].mask, ACCESS_MASK(SYNCHRONIZE));
    EXPECT_EQ(entries[1].sid, user);
    EXPECT_EQ(entries[1].mask, ACCESS_MASK(0x1234));
    EXPECT_EQ(entries[2].sid, wellKnown(WinBuiltinAdministratorsSid));
    EXPECT_EQ(entries[2].mask, ACCESS_MASK(GENERIC_ALL));
    EXPECT_EQ(entries[3].sid, wellKnown(WinWorldSid));
    EXPECT_EQ(entries[3].mask, ACCESS_MASK(GENERIC_READ));

    // A creating call takes the attributes.
    std::string name = "Local\\vexapi-security-test-" + std::to_string(GetCurrentProcessId());
    HANDLE mutex = CreateMutexA(&attributes, FALSE, name.c_str());
    EXPECT_NE(mutex, nullptr);
    if (mutex)
        CloseHandle(mutex);

    // A record that has its descriptor is not built again.
    SECURITY_ATTRIBUTES again{};
    EXPECT_EQ(CreateSecurityAttributes(data, &again), 0);
    FreeSecurityData(data);
    CloseHandle(token);
}

TEST(SecurityData, KindsMapToTheirWellKnownSids)
{
    const std::pair<int, WELL_KNOWN_SID_TYPE> kinds[] = {
        {TrusteeCreatorOwner, WinCreatorOwnerSid}, {TrusteeAdministrators, WinBuiltinAdministratorsSid},
        {TrusteeUsers, WinBuiltinUsersSid},        {TrusteeEveryone, WinWorldSid},
        {TrusteeAnonymous, WinAnonymousSid},       {0, WinNullSid},
        {99, WinNullSid}};
    for (const auto& kind : kinds) {
        SecurityData* data = ConstructSecurityData();
        AddTrusteeToSecurityData(data, kind.first, GENERIC_READ);
        SECURITY_ATTRIBUTES attributes{};
        ASSERT_EQ(CreateSecurityAttributes(data, &attributes), 1) << kind.first;
        std::vector<Entry> entries = entriesOf(data->securityDescriptor);
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].sid, wellKnown(kind.second)) << "kind " << kind.first;
        FreeSecurityData(data);
    }
}

TEST(SecurityData, EmptyListGivesAnEmptyAccessListAndNullIsRefused)
{
    SecurityData* data = ConstructSecurityData();
    SECURITY_ATTRIBUTES attributes{};
    ASSERT_EQ(CreateSecurityAttributes(data, &attributes), 1);
    EXPECT_TRUE(entriesOf(data->securityDescriptor).empty());
    FreeSecurityData(data);

    EXPECT_FALSE(AddTrusteeToSecurityData(nullptr, TrusteeEveryone, 0));
    EXPECT_FALSE(AddTokenToSecurityData(nullptr, nullptr, 0));
    EXPECT_EQ(CreateSecurityAttributes(nullptr, &attributes), 0);
    FreeSecurityData(nullptr);
}

} // namespace
