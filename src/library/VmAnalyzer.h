// library/VmAnalyzer.h — draws the waveform pictures of recordings, and the position line on the one shown.
#pragma once
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <QImage>
#include <QSize>
#include <string>
#include <string_view>
#include <vector>

class Volume;
class VmControler;
class VmWaveView;

/// Posted on a worker's thread when a picture is there: receivers move their work to the main thread.
inline constexpr std::string_view VmCreateImageFile_Notification = "VmCreateImageFile_Notification";
/// Its user-info key: the sound file's full path.
inline constexpr std::string_view ImageFilePath = "ImageFilePath";

/// The controller of the waveform pictures. A picture is drawn once, when a recording is finished or, if there
/// is none that fits, when somebody wants to see it; on one of few worker threads that stand back behind
/// everything else, and kept in a hidden file beside its sound.
///
/// The picture of the recording in progress would be out of date at once, and would stay behind when the file
/// gets its final name: it is not kept, but handed out once. So is a picture that could not be kept.
class VmAnalyzer {
public:
    static constexpr int maxWorkers = 2; ///< pictures drawn at a time

    VmAnalyzer(VmControler& controler, VmWaveView& waveView);
    /// Breaks off what is being drawn, and waits for it.
    ~VmAnalyzer();
    VmAnalyzer(const VmAnalyzer&) = delete;
    VmAnalyzer& operator=(const VmAnalyzer&) = delete;

    // Any thread; what is at the path of a recording
    static bool imageFileExistAtPath(Volume& volume, const std::string& soundPath);
    /// Returns the picture's path, be it that there was one or not.
    static std::string deleteImageFile(Volume& volume, const std::string& soundPath);
    static bool soundFileExistAtPath(Volume& volume, const std::string& path);

    // Main thread
    /// Has the picture of a sound file drawn, before all others that wait. Nothing if it is being drawn
    /// already.
    void createImageFileWithSoundFile(const std::string& path);
    /// The same for a recording that has just ended: nobody waits for it, and it may be gone again by then.
    void createImageFileOfFinishedSoundFile(const std::string& path);
    /// Blocks until all pictures that were asked for are there, but not longer than `patience` seconds.
    void awaitPictures(double patience) const;
    /// The picture of a sound file, if there is one that fits the sound and the view; else have it made.
    std::optional<QImage> imageWithSoundFile(const std::string& path);
    /// View points of a byte position in the file that the mechanic opened last.
    int pointAtPosition(std::int64_t position) const;
    void drawPositionLine(int x);
    void erasePositionLine();
    /// Forgets the line, as for a new picture.
    void initPositionLine();
    int savePoint() const { return m_savePoint; } ///< -1: no line

    // Any thread
    /// From the asking until the picture is there; for ever if the sound could not be read.
    bool isCreatingImageFile(const std::string& path) const;
    void removeCreatingImageList(const std::string& path);

private:
    struct Order {
        std::string path;
        QSize size;
        bool isProgress; ///< of the recording that is being written
        bool mayVanish;  ///< gets another name every minute, or is deleted to make room
    };
    struct Unkept {
        std::string path;
        QImage image;
    };
    enum class End { done, tryAgain, never };

    void take(const std::string& path, bool mayVanish);
    void startWorker();
    bool isProgressPath(const std::string& path) const;
    std::optional<QImage> takeUnkept(const std::string& path);

    // Worker threads
    void work();
    void createImageFileThread(const Order& order);
    End createImage(const Order& order);
    void reportError(std::string_view message) const;
    bool reportProgress(const Order& order, double progress);

    VmControler& m_controler;
    VmWaveView& m_waveView;
    QImage m_saveImage;
    int m_savePoint = -1;
    std::shared_ptr<int> m_alive = std::make_shared<int>(); ///< posted calls ask whether it is still there

    std::atomic<bool> m_cancelled{false};
    std::atomic<int> m_running{0}; ///< threads; each one's last step lowers it
    mutable std::mutex m_mutex;    // guards all below
    std::vector<std::string> m_creatingImageList;
    std::deque<Order> m_waiting;
    std::vector<Unkept> m_unkept;
    int m_workers = 0; ///< threads that take orders
};
