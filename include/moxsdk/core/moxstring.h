#pragma once

namespace moxsdk {

// An owning, null-terminated string. Memory comes from MoxMalloc; when it cannot be had, the string
// is empty and the failure is reported as "lData" (file "core/moxstring", function "Assign").
class MoxString {
public:
    MoxString();
    MoxString(const char* pText);  // NOLINT(google-explicit-constructor): strings convert from literals
    MoxString(const MoxString& pOther);
    MoxString(MoxString&& pOther) noexcept;
    ~MoxString();
    MoxString& operator=(const MoxString& pOther);
    MoxString& operator=(MoxString&& pOther) noexcept;

    const char* Buffer() const;
    int GetLen() const { return mLength; }
    bool IsEmpty() const { return mLength == 0; }
    // Sign of strcmp(this, pOther).
    int Compare(const char* pOther) const;
    int Compare(const MoxString& pOther) const { return Compare(pOther.Buffer()); }

    bool operator==(const MoxString& pOther) const { return Compare(pOther) == 0; }
    bool operator!=(const MoxString& pOther) const { return Compare(pOther) != 0; }
    bool operator==(const char* pOther) const { return Compare(pOther) == 0; }
    bool operator!=(const char* pOther) const { return Compare(pOther) != 0; }
    bool operator<(const MoxString& pOther) const { return Compare(pOther) < 0; }

private:
    void Assign(const char* pText);

    char* mData = nullptr;
    int mLength = 0;
};

}  // namespace moxsdk
