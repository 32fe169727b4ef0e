#include "filereader.h"

#include "trace.h"

FileReader::FileReader() = default;

bool FileReader::open(const QString &fileName)
{
    m_file.setFileName(fileName);
    // Unbuffered: the transfer appends to the file meanwhile, and may start it over.
    return m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

int FileReader::read(char *buffer, qint64 &length, qint64 position)
{
    if (m_paused) {
        TRACE() << "-----------------FileReader::Paused()";
        length = 0;
        return Ended;
    }
    if (!m_file.isOpen() || position < 0)
        return BadPosition;
    if (m_file.pos() != position) {
        if (!m_file.seek(position))
            return BadPosition;
        if (m_finished && m_file.atEnd())
            return Ended;
    }
    length = m_file.read(buffer, length);
    if (length > 0)
        return Delivered;
    return m_finished ? Ended : NothingYet;
}

void FileReader::setFinished()
{
    m_finished = true;
}

void FileReader::setPaused(bool paused)
{
    m_paused = paused;
}

void FileReader::close()
{
    m_file.close();
}

void FileReader::onFilefinished()
{
    setFinished();
}
