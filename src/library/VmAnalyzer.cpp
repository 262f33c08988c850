#include "library/VmAnalyzer.h"

#include "app/VmControler.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/RunLoop.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "library/ThreadPriority.h"
#include "library/VmWaveView.h"
#include "library/WaveformEnvelope.h"
#include "library/WaveformPicture.h"
#include "recorder/VmRecorder.h"
#include "storage/RecordFolder.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <QPainter>

namespace {
constexpr std::size_t unkeptPictures = 4;
constexpr double secondsPerLook = 0.01; ///< at the threads that are to end
} // namespace

VmAnalyzer::VmAnalyzer(VmControler& controler, VmWaveView& waveView)
    : m_controler(controler), m_waveView(waveView) {
    m_finished = controler.seams().notifications.observe(
        VmSoundFileFinished_Notification, [this](const Notification& finished) {
            const std::string& path = finished.userInfo.at("SoundFilePath");
            if (!VmMechanic::isHidedFile(RecordFolder::bareName(path)))
                order(path, false);
        });
}

VmAnalyzer::~VmAnalyzer() {
    m_cancelled = true;
    for (double wait = 0.0; m_running > 0; wait = secondsPerLook)
        m_controler.seams().clock.sleep(wait);
}

void VmAnalyzer::awaitPictures(double patience) const {
    Clock& clock = m_controler.seams().clock;
    const HostTime deadline = clock.hostTime() + hostTimeFromSeconds(patience);
    for (double wait = 0.0; m_running > 0 && clock.hostTime() < deadline; wait = secondsPerLook)
        clock.sleep(wait);
}

bool VmAnalyzer::imageFileExistAtPath(Volume& volume, const std::string& soundPath) {
    return volume.exists(WaveformPicture::pathOfSound(soundPath));
}

std::string VmAnalyzer::deleteImageFile(Volume& volume, const std::string& soundPath) {
    std::string path = WaveformPicture::pathOfSound(soundPath);
    volume.remove(path); // there need not be one
    return path;
}

bool VmAnalyzer::soundFileExistAtPath(Volume& volume, const std::string& path) {
    return volume.exists(path);
}

void VmAnalyzer::createImageFileWithSoundFile(const std::string& path) {
    m_waveView.expectImage(path);
    order(path, true);
}

void VmAnalyzer::order(const std::string& path, bool isAskedFor) {
    const std::lock_guard guard(m_mutex);
    if (std::ranges::find(m_creatingImageList, path) == m_creatingImageList.end()) {
        m_creatingImageList.push_back(path);
        m_waiting.insert(isAskedFor ? m_waiting.begin() : m_waiting.end(),
                         {path, m_waveView.bounds(), isProgressPath(path), isAskedFor});
        if (m_workers < maxWorkers)
            startWorker();
        return;
    }
    // It may wait behind others: whoever asks again wants to see it now.
    const auto waiting = std::ranges::find(m_waiting, path, &Order::path);
    if (!isAskedFor || waiting == m_waiting.end())
        return;
    waiting->isAskedFor = true;
    std::rotate(m_waiting.begin(), waiting, waiting + 1);
}

void VmAnalyzer::startWorker() {
    ++m_workers;
    ++m_running;
    m_controler.seams().clock.detachThread("waveform", [this] {
        ThreadPriority::standBack();
        work();
        --m_running;
    });
}

bool VmAnalyzer::isProgressPath(const std::string& path) const {
    return path == m_controler.seams().defaults.stringForKey("ProgressSoundFileName"); // a full path
}

std::optional<QImage> VmAnalyzer::imageWithSoundFile(const std::string& path) {
    if (std::optional<QImage> image = takeUnkept(path))
        return image;
    Volume& volume = m_controler.seams().volume;
    const SoundFile::Opened sound = SoundFile::openForReading(volume, path);
    if (!sound.file)
        return std::nullopt;
    return WaveformPicture::kept(volume, path, m_waveView.bounds(), sound.file->byteCount());
}

std::optional<QImage> VmAnalyzer::takeUnkept(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const auto found = std::ranges::find(m_unkept, path, &Unkept::path);
    if (found == m_unkept.end())
        return std::nullopt;
    QImage image = found->image;
    m_unkept.erase(found);
    if (image.size() != m_waveView.bounds())
        return std::nullopt;
    return image;
}

int VmAnalyzer::pointAtPosition(std::int64_t position) const {
    const std::int64_t numDatas = m_controler.mechanic().numDatas();
    if (numDatas <= 0)
        return 0;
    return static_cast<int>(position * m_waveView.bounds().width() / numDatas);
}

void VmAnalyzer::drawPositionLine(int x) {
    QImage& image = m_waveView.imageToDrawInto();
    erasePositionLine();
    const QRect strip(x, 0, 1, image.height());
    m_saveImage = image.copy(strip);
    if (!image.isNull())
        QPainter(&image).fillRect(strip, Qt::red);
    m_savePoint = x;
    m_waveView.setNeedsDisplay();
}

void VmAnalyzer::erasePositionLine() {
    QImage& image = m_waveView.imageToDrawInto();
    if (m_saveImage.isNull() || image.isNull())
        return;
    QPainter(&image).drawImage(m_savePoint, 0, m_saveImage);
    m_waveView.renewMark(m_savePoint); // the range may have come or gone under the line
    m_saveImage = QImage();
    m_savePoint = -1;
    m_waveView.setNeedsDisplay();
}

void VmAnalyzer::initPositionLine() {
    m_savePoint = -1;
    m_saveImage = QImage();
}

bool VmAnalyzer::isCreatingImageFile(const std::string& path) const {
    const std::lock_guard guard(m_mutex);
    return std::ranges::find(m_creatingImageList, path) != m_creatingImageList.end();
}

void VmAnalyzer::removeCreatingImageList(const std::string& path) {
    const std::lock_guard guard(m_mutex);
    const auto found = std::ranges::find(m_creatingImageList, path);
    if (found != m_creatingImageList.end())
        m_creatingImageList.erase(found);
}

void VmAnalyzer::work() {
    for (;;) {
        Order order;
        {
            const std::lock_guard guard(m_mutex);
            if (m_waiting.empty() || m_cancelled) {
                --m_workers;
                return;
            }
            order = std::move(m_waiting.front());
            m_waiting.pop_front();
        }
        createImageFileThread(order);
    }
}

void VmAnalyzer::createImageFileThread(const Order& order) {
    const End end = createImage(order);
    if (end == End::done)
        m_controler.seams().notifications.post(
            {std::string(VmCreateImageFile_Notification), {}, {{std::string(ImageFilePath), order.path}}});
    if (end != End::never)
        removeCreatingImageList(order.path);
}

VmAnalyzer::End VmAnalyzer::createImage(const Order& order) {
    if (!order.isAskedFor && !soundFileExistAtPath(m_controler.seams().volume, order.path))
        return End::tryAgain; // deleted or renamed since it ended: nobody misses the picture
    const std::unique_ptr<SoundFile> file = m_controler.mechanic().openAIFFFileForWorker(order.path);
    if (!file) {
        // The recording in progress gets another name every minute, and one that has ended may be deleted just
        // now.
        const bool mayVanish = order.isProgress || !order.isAskedFor;
        if (!mayVanish || soundFileExistAtPath(m_controler.seams().volume, order.path))
            reportError("VmAnalyzer: audio file open error.");
        return End::tryAgain;
    }
    const std::int64_t soundBytes = file->byteCount();
    WaveformEnvelope envelope(soundBytes, order.size.width());
    switch (envelope.read(*file, [&](double progress) { return reportProgress(order, progress); })) {
    case WaveformEnvelope::Outcome::cancelled:
        return End::tryAgain;
    case WaveformEnvelope::Outcome::readFailed:
        reportError(formatted("VmAnalyzer: audio file read error, readPos=%ld, readSize=%d.",
                              static_cast<long>(envelope.failedAt()),
                              static_cast<int>(envelope.columnBytes())));
        return End::never;
    case WaveformEnvelope::Outcome::done:
        break;
    }
    const QImage image = WaveformPicture::drawn(envelope.columns(), order.size);
    Volume& volume = m_controler.seams().volume;
    bool kept = false;
    if (!order.isProgress) {
        kept = WaveformPicture::keep(volume, order.path, image, soundBytes);
        if (!kept)
            reportError("VmAnalyzer: image file write error.");
    }
    // Whoever deletes a recording deletes its picture afterwards: one that came too late is taken away here.
    if (!soundFileExistAtPath(volume, order.path)) {
        deleteImageFile(volume, order.path);
        return End::tryAgain;
    }
    if (!kept) {
        const std::lock_guard guard(m_mutex);
        std::erase_if(m_unkept, [&](const Unkept& unkept) { return unkept.path == order.path; });
        if (m_unkept.size() == unkeptPictures)
            m_unkept.erase(m_unkept.begin());
        m_unkept.push_back({order.path, image});
    }
    return End::done;
}

void VmAnalyzer::reportError(std::string_view message) const {
    m_controler.seams().log.log(message);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", message);
}

bool VmAnalyzer::reportProgress(const Order& order, double progress) {
    m_controler.seams().runLoop.post([this, alive = std::weak_ptr(m_alive), path = order.path, progress] {
        if (!alive.expired())
            m_waveView.setProgress(path, progress);
    });
    return !m_cancelled;
}
