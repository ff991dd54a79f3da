#include "PWndMake.h"

#include "PSourceFiles.h"

#include "file/SFilePath.h"
#include "file/SPath.h"
#include "file/SResource.h"
#include "wnd/SSelector.h"

PWndMake::PWndMake() : m_editVersion(nullptr), m_editFolder(nullptr)
{
}

PWndMake::~PWndMake()
{
}

LRESULT PWndMake::Handler(UINT msg, WPARAM wParam, LPARAM lParam)
{
    switch (msg) {
    case WM_DESTROY:
        PostQuitMessage(0);
        break;
    case SWM_DIALOGREADY:
        m_editVersion = FindByName("EDIT_VERSION");
        m_editFolder = FindByName("EDIT_FOLDER");
        break;
    case SWM_DROPFILES:
        OnDropFiles((const SStringArray*)wParam);
        break;
    case SWM_COMMAND: {
        SWnd* control = (SWnd*)wParam;
        int id = control ? control->GetId() : 0;
        if (id == BTN_MAKE)
            Make();
        else if (id == BTN_FOLDER)
            BrowseFolder();
        break;
    }
    }
    return SWndDialog::Handler(msg, wParam, lParam);
}

void PWndMake::OnDropFiles(const SStringArray* paths)
{
    if (!paths || paths->GetCount() < 1 || !m_editFolder)
        return;
    const char* first = paths->GetText(0);
    if (!m_disk.IsFolder(first))
        return;
    SPath path;
    path.Set(first);
    m_editFolder->SetText(path.Full().Text());
}

void PWndMake::BrowseFolder()
{
    if (!m_editFolder)
        return;
    SSelector selector;
    SString folder = selector.SelectFolder(GetHandle(), "Source files", "", 0);
    if (!folder.IsEmpty())
        m_editFolder->SetText(folder.Text());
}

void PWndMake::Make()
{
    if (!m_editFolder || !m_editVersion)
        return;
    SPath source;
    source.SetFolder(m_editFolder->GetText().Text());
    SString folder = source.Full();
    if (folder.IsEmpty() || !m_disk.IsFolder(folder.Text())) {
        ShowMessage("Invalid folder", "Error", MB_ICONINFORMATION);
        return;
    }

    SStringArray files;
    PSourceFiles::List(&m_disk, folder, &files);
    if (files.GetCount() == 0) {
        ShowMessage("No files", "Error", MB_ICONINFORMATION);
        return;
    }

    SSelector selector;
    SString descPath = selector.SaveFile(GetHandle(), nullptr, "Update files|*.upd", nullptr);
    if (descPath.IsEmpty())
        return;
    SPath desc;
    desc.Set(descPath.Text());
    SString packagePath = PSourceFiles::PackagePath(desc);

    SResource archive;
    archive.Reset();
    archive.SetFolder(folder.Text());
    for (int i = 0; i < files.GetCount(); i++)
        archive.Add(PSourceFiles::EntryName(files.GetAt(i), folder).Text(), nullptr);

    // A failed write deliberately shows nothing: the description file is
    // written all the same, with the size of whatever the package holds.
    SFilePath package(packagePath.Text(), true, true, false);
    archive.Write(&package, true);
    package.Close();
    uint32_t size = m_disk.FileSize(packagePath.Text());

    SFilePath description(descPath.Text(), true, true, false);
    if (description.IsOpen()) {
        SString sizeText;
        sizeText.Format("%u", size);
        description.WriteLine(m_editVersion->GetText().Text());
        description.WriteLine(sizeText.Text());
        description.Close();
    }
}
