#include "korvane/server/VideoWriter.h"

#include "korvane/base/UtcTime.h"

namespace korvane {
namespace {

Error failure(const char* what, int code) {
    return Error{std::string(what) + ": " + avErrorText(code)};
}

}  // namespace

void VideoWriter::OutputDeleter::operator()(AVFormatContext* context) const {
    avio_closep(&context->pb);
    avformat_free_context(context);
}

VideoWriter::~VideoWriter() = default;

Result<std::unique_ptr<VideoWriter>> VideoWriter::create(const std::filesystem::path& file, const VideoFormat& format) {
    std::unique_ptr<VideoWriter> writer(new VideoWriter(format));
    if (const Failure failure = writer->open(file)) return *failure;
    return writer;
}

Failure VideoWriter::open(const std::filesystem::path& file) {
    silenceLibAv();
    AVFormatContext* raw = nullptr;
    int code = avformat_alloc_output_context2(&raw, nullptr, nullptr, file.c_str());
    if (code < 0) return failure("cannot write such a file", code);
    output_.reset(raw);
    const AVCodec* codec = avcodec_find_encoder_by_name("libx264");
    AVStream* stream = avformat_new_stream(raw, nullptr);
    encoder_.reset(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    frame_.reset(av_frame_alloc());
    packet_.reset(av_packet_alloc());
    scaler_.reset(sws_getContext(format_.width, format_.height, AV_PIX_FMT_RGB24, format_.width, format_.height,
                                 AV_PIX_FMT_YUV420P, SWS_POINT, nullptr, nullptr, nullptr));
    if (stream == nullptr || !encoder_ || !frame_ || !packet_ || !scaler_) return Error{"there is no H.264 encoder"};
    encoder_->width = format_.width;
    encoder_->height = format_.height;
    encoder_->pix_fmt = AV_PIX_FMT_YUV420P;
    encoder_->time_base = {1, format_.framesPerSecond};
    encoder_->framerate = {format_.framesPerSecond, 1};
    encoder_->gop_size = format_.keyFrameEvery;
    encoder_->thread_count = 1;
    if ((raw->oformat->flags & AVFMT_GLOBALHEADER) != 0) encoder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* settings = nullptr;
    av_dict_set(&settings, "preset", "veryfast", 0);
    av_dict_set_int(&settings, "crf", format_.rateFactor, 0);
    code = avcodec_open2(encoder_.get(), codec, &settings);
    av_dict_free(&settings);
    if (code < 0) return failure("the H.264 encoder does not start", code);
    frame_->format = AV_PIX_FMT_YUV420P;
    frame_->width = format_.width;
    frame_->height = format_.height;
    code = av_frame_get_buffer(frame_.get(), 0);
    if (code < 0) return failure("no room for a picture", code);
    avcodec_parameters_from_context(stream->codecpar, encoder_.get());
    stream->time_base = encoder_->time_base;
    if (format_.created) av_dict_set(&raw->metadata, "creation_time", formatUtc(*format_.created).c_str(), 0);
    code = avio_open(&raw->pb, file.c_str(), AVIO_FLAG_WRITE);
    if (code < 0) return failure("cannot write the file", code);
    av_dict_set(&settings, "movflags", "+faststart", 0);
    code = avformat_write_header(raw, &settings);
    av_dict_free(&settings);
    return code < 0 ? Failure(failure("cannot write the file", code)) : std::nullopt;
}

Failure VideoWriter::add(const std::vector<std::uint8_t>& rgb) {
    const int stride = format_.width * 3;
    if (rgb.size() < static_cast<std::size_t>(stride) * static_cast<std::size_t>(format_.height))
        return Error{"the picture is too small"};
    if (const int code = av_frame_make_writable(frame_.get()); code < 0) return failure("no room for a picture", code);
    const std::uint8_t* planes[] = {rgb.data()};
    const int strides[] = {stride};
    sws_scale(scaler_.get(), planes, strides, 0, format_.height, frame_->data, frame_->linesize);
    return repeat();
}

Failure VideoWriter::repeat() {
    frame_->pts = frames_++;
    return send(frame_.get());
}

Failure VideoWriter::send(AVFrame* frame) {
    int code = avcodec_send_frame(encoder_.get(), frame);
    while (code >= 0) {
        code = avcodec_receive_packet(encoder_.get(), packet_.get());
        if (code == AVERROR(EAGAIN) || code == AVERROR_EOF) return std::nullopt;
        if (code < 0) break;
        packet_->duration = 1;
        av_packet_rescale_ts(packet_.get(), encoder_->time_base, output_->streams[0]->time_base);
        packet_->stream_index = 0;
        code = av_interleaved_write_frame(output_.get(), packet_.get());
    }
    return failure("cannot write the film", code);
}

Failure VideoWriter::finish() {
    if (Failure failure = send(nullptr)) return failure;
    const int code = av_write_trailer(output_.get());
    return code < 0 ? Failure(failure("cannot finish the film", code)) : std::nullopt;
}

}  // namespace korvane
