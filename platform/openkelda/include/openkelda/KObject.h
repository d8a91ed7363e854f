// openkelda/KObject.h

#pragma once

/// Opaque handle of a plug-in. The host passes it to the plug-in's entry points.
class KObject
{
public:
    /// A null handle, with which host calls fail.
    KObject() = default;
    /// For hosts only. \p handle identifies the plug-in; the host owns it.
    explicit KObject(void *handle) : m_handle(handle) {}

    bool isNull() const { return m_handle == nullptr; }
    void *handle() const { return m_handle; }

private:
    void *m_handle = nullptr;
};
