#include "http/TransferProgress.h"

#include <algorithm>

TransferProgress &TransferProgress::instance()
{
    static TransferProgress progress;
    return progress;
}

void TransferProgress::begin(Transfer *transfer)
{
    m_running.push_back(transfer);
    emit changed();
}

void TransferProgress::end(Transfer *transfer)
{
    m_running.erase(std::remove(m_running.begin(), m_running.end(), transfer), m_running.end());
    emit changed();
}

#include "moc_TransferProgress.cpp"
