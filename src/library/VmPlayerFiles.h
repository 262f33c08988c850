// library/VmPlayerFiles.h — the player's work on recordings: lock, note, delete, export.
#pragma once
#include "library/SoundFileExporter.h"

#include <functional>
#include <string>

class PlayerControls;
class VmControler;
class VmMechanic;
class VmPlayList;
class VmTableView;

/// Works on the selected row of the record table; without one, and on the recording in progress save for its
/// export, it does nothing. Owned by the player. Main thread only.
class VmPlayerFiles {
public:
    /// Of the waveform view.
    struct Selection {
        double start = 0.0;             ///< view points
        double length = 0.0;            ///< view points; 0 is no selection
        double width = 0.0;             ///< of the whole view, points
        SoundFileCopier::Range range{}; ///< the sound from head to tail position
    };
    /// What the player does for its work.
    struct Host {
        std::function<void()> stopPlayback;
        /// Opens the selected recording again, if it is still there.
        std::function<void()> reopen;
        std::function<void()> renewListAndControl;
        std::function<Selection()> selection;
        /// Removes the waveform picture of a sound file; returns the picture's path.
        std::function<std::string(const std::string& soundPath)> deleteImageFile;
    };

    VmPlayerFiles(VmControler& controler, VmPlayList& list, PlayerControls& controls, Host host);
    ~VmPlayerFiles();
    VmPlayerFiles(const VmPlayerFiles&) = delete;
    VmPlayerFiles& operator=(const VmPlayerFiles&) = delete;

    void actLock();
    void actNote();
    void editNoteEndHandler(const std::string& text);
    /// False, after saying it, when the note could not be written; see `RecordNote::write`.
    bool writeNoteWithPath(const std::string& path, const std::string& note);
    void actDelete();
    void actCopy();
    /// Seconds of the day at `x` view points of the waveform of the selected recording.
    double secondsAtPoint(double x) const;

    /// Fits the work buttons to the selected row.
    void renewButtons();
    void onlyCopyButtonSetEnable();

    bool verifyDelete() const { return m_verifyDelete; }
    void setVerifyDelete(bool verifyDelete) { m_verifyDelete = verifyDelete; }
    const std::string& deleteFile() const { return m_deleteFile; }
    const std::string& deleteImage() const { return m_deleteImage; }
    const std::string& originalFile() const { return m_originalFile; }
    const std::string& destinationFile() const { return m_destinationFile; }
    SoundFileExporter& exporter() { return m_exporter; }

private:
    int selectedRow() const;
    std::string selectedName() const;
    bool isSelectedInProgress() const;
    std::string pathOf(const std::string& name) const;
    void setWorkEnabled(bool others, bool copy);
    void reportError(const std::string& message) const;
    void tellLocked() const;

    // Export
    std::string chosenDestination(const std::string& source);
    std::string namedDestination(const std::string& chosen, const std::string& source,
                                 const Selection& selection) const;
    SoundFileCopier::Order orderFor(const std::string& chosen, const std::string& source) const;
    bool isWorkFile(const std::string& path) const;
    void copy(const SoundFileCopier::Order& order, bool isProgress);
    void copyEnded(const SoundFileCopier::Order& order, const SoundFileCopier::Result& result);
    void copyFailed(const SoundFileCopier::Order& order, int error);

    VmControler& m_controler;
    VmMechanic& m_mechanic;
    VmTableView& m_table;
    VmPlayList& m_list;
    PlayerControls& m_controls;
    const Host m_host;
    bool m_verifyDelete = true;
    std::string m_editedName; ///< whose note is edited
    std::string m_deleteFile;
    std::string m_deleteImage;
    std::string m_originalFile;
    std::string m_destinationFile;
    SoundFileExporter m_exporter;
};
