#include "PDeltaPackage.h"

#include <stdlib.h>
#include <string.h>
#include <zlib.h>

#include <memory>

#include "PPackCheck.h"
#include "PSourceFiles.h"
#include "core/SLittleEndian.h"
#include "file/SDisk.h"
#include "file/SFilePacker.h"
#include "file/SFilePath.h"
#include "file/SPath.h"
#include "file/SResourceIndex.h"

namespace {

const int kChunk = SFilePacker::kChunk;
const int kPacked = SFilePacker::kPacked;

// Reads exactly count bytes; false when the file comes up short.
bool ReadAll(SFile& file, unsigned char* buffer, int count)
{
    return file.Read(buffer, count) == count;
}

}   // namespace

bool PDeltaPackage::Load(const char* oldDescription, const SVersion& newVersion)
{
    SFilePath desc(oldDescription, false, false, true);
    SString sizeLine;
    if (!desc.IsOpen() || !desc.ReadLine(m_from) || !desc.ReadLine(sizeLine, true)) {
        m_error.Format("Cannot read the description %s", oldDescription);
        return false;
    }
    desc.Close();
    SVersion from;
    // The version becomes part of the delta's file name: only a version
    // text, never a path, may reach it.
    if (!from.Parse(m_from.Text())) {
        m_error.Format("%s: \"%s\" is not a version", oldDescription, m_from.Text());
        return false;
    }
    if (from.Compare(newVersion) >= 0) {
        m_error.Format("%s: version %s is not older than the new version %s", oldDescription,
                       m_from.Text(), newVersion.GetText().Text());
        return false;
    }
    SPath path;
    if (path.Set(oldDescription) == SPATH_INVALID || !path.HasName()) {
        m_error.Format("Cannot read the description %s", oldDescription);
        return false;
    }
    m_oldPackage = PSourceFiles::PackagePath(path);
    SDisk disk;
    uint32_t size = disk.FileSize(m_oldPackage.Text());
    SString sizeText;
    sizeText.Format("%u", size);
    if (size == 0xFFFFFFFFu || sizeText != sizeLine) {
        m_error.Format("%s: the package %s is not the one its description gives (%s bytes)",
                       oldDescription, m_oldPackage.Text(), sizeLine.Text());
        return false;
    }
    if (!m_old.Open(m_oldPackage.Text())) {
        m_error.Format("Cannot open %s as a package", m_oldPackage.Text());
        return false;
    }
    return true;
}

SString PDeltaPackage::PathFor(const SString& newDescription) const
{
    SPath path;
    path.Set(newDescription.Text());
    return path.Parent() + path.Title() + "-from-" + m_from + ".bin";
}

bool PDeltaPackage::Compare(const SString& root, const SStringArray& names)
{
    m_changed.RemoveAll();
    m_added.RemoveAll();
    m_removed.RemoveAll();
    m_holds.RemoveAll();
    const SResourceIndex& old = m_old.GetIndex();
    SResourceIndex present;
    for (int i = 0; i < names.GetCount(); i++) {
        const char* name = names.GetText(i);
        present.Append(name, nullptr, -1, 0);
        int index = old.Find(name);
        if (index < 0) {
            m_added.Add(name);
            m_holds.Add(name);
            continue;
        }
        SString path = root + name;
        SFilePath file;
        if (!file.Open(path.Text(), false, false, true, true)) {
            m_error.Format("Cannot read %s", path.Text());
            return false;
        }
        if (!SameContent(index, file)) {
            m_changed.Add(name);
            m_holds.Add(name);
        }
    }
    // The first of equal names is what the installer unpacked last time too.
    for (int i = 0; i < old.GetCount(); i++) {
        if (present.Find(old.GetName(i)) < 0 && old.Find(old.GetName(i)) == i)
            m_removed.Add(old.GetName(i));
    }
    return true;
}

bool PDeltaPackage::SameContent(int index, SFile& file)
{
    SFilePath old;
    if (!old.Open(m_oldPackage.Text(), false, false, true, true))
        return false;
    const SResourceIndex& entries = m_old.GetIndex();
    uint32_t length = entries.GetLength(index);
    if (old.Seek(entries.GetOffset(index)) != entries.GetOffset(index))
        return false;
    if (!m_old.IsCompressed())
        return SameStored(old, length, file);
    // An empty file has no chunk stream at all.
    if (length == 0)
        return file.Size() == 0;
    int start = old.Tell();
    int64_t stated = PPackCheck::StreamRawBytes(old, length);
    if (stated != file.Size() || old.Seek(start) != start)
        return false;
    return SameCompressed(old, file);
}

bool PDeltaPackage::SameStored(SFile& old, uint32_t length, SFile& file)
{
    if ((int64_t)length != file.Size())
        return false;
    std::unique_ptr<unsigned char[]> a(new (std::nothrow) unsigned char[kChunk]);
    std::unique_ptr<unsigned char[]> b(new (std::nothrow) unsigned char[kChunk]);
    if (!a || !b)
        return false;
    for (int64_t left = length; left > 0;) {
        int count = left < kChunk ? (int)left : kChunk;
        if (!ReadAll(old, a.get(), count) || !ReadAll(file, b.get(), count) ||
            memcmp(a.get(), b.get(), (size_t)count) != 0)
            return false;
        left -= count;
    }
    return true;
}

bool PDeltaPackage::SameCompressed(SFile& old, SFile& file)
{
    std::unique_ptr<unsigned char[]> packed(new (std::nothrow) unsigned char[kPacked]);
    std::unique_ptr<unsigned char[]> raw(new (std::nothrow) unsigned char[kChunk]);
    std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[kChunk]);
    z_stream stream = {};
    if (!packed || !raw || !bytes || inflateInit(&stream) != Z_OK)
        return false;
    unsigned char header[8];
    bool same = ReadAll(old, header, 4);
    uint32_t chunks = same ? SLittleEndian::Get32(header) : 0;
    // The headers were walked already; the buffers bound them again here.
    for (uint32_t i = 0; same && i < chunks; i++) {
        same = ReadAll(old, header, 8);
        uint32_t rawLength = SLittleEndian::Get32(header);
        uint32_t packedLength = SLittleEndian::Get32(header + 4);
        same = same && rawLength <= (uint32_t)kChunk && packedLength <= (uint32_t)kPacked &&
            ReadAll(old, packed.get(), (int)packedLength) &&
            ReadAll(file, bytes.get(), (int)rawLength);
        if (!same)
            break;
        inflateReset(&stream);
        stream.next_in = packed.get();
        stream.avail_in = packedLength;
        stream.next_out = raw.get();
        stream.avail_out = rawLength;
        same = inflate(&stream, Z_FINISH) == Z_STREAM_END && stream.total_out == rawLength &&
            memcmp(raw.get(), bytes.get(), rawLength) == 0;
    }
    inflateEnd(&stream);
    return same && file.IsEnd();
}

bool PDeltaPackage::Write(const SString& root, const char* path, SResourceProgress progress)
{
    SResource writer;
    writer.SetFolder(root.Text());
    for (int i = 0; i < m_holds.GetCount(); i++)
        writer.Add(m_holds.GetText(i));
    SFilePath output(path, true, true, false);
    if (!output.IsOpen()) {
        m_error.Format("Cannot create %s", path);
        return false;
    }
    writer.SetProgress(progress, 0);
    if (!writer.Write(&output, true)) {
        m_error.Format("Cannot write %s", path);
        return false;
    }
    return true;
}
