// openkelda/KObject.h

#pragma once

/// Opaque handle of a plug-in, which the host passes to the plug-in's entry points. Copies name the same plug-in.
class KObject
{
public:
    /// A null handle, which no host call accepts.
    KObject() = default;
    /// For hosts only: \p handle is whatever the host finds its plug-in by, and stays the host's.
    explicit KObject(void *handle) : m_handle(handle) {}

    bool isNull() const { return m_handle == nullptr; }
    void *handle() const { return m_handle; }

private:
    void *m_handle = nullptr;
};
