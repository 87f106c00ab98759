// Boost.Log: text files flushed after every record, and its asynchronous sink with a bounded queue.
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/log/attributes/clock.hpp>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/attributes/current_thread_id.hpp>
#include <boost/log/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks.hpp>
#include <boost/log/sinks/block_on_overflow.hpp>
#include <boost/log/sinks/bounded_fifo_queue.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_logger.hpp>
#include <boost/log/support/date_time.hpp>

#include <iomanip>
#include <stdexcept>
#include <string>
#include <vector>

#include "harness/contender.h"
#include "harness/sample.h"

namespace NS_BENCH {

namespace {

namespace attributes = boost::log::attributes;
namespace expressions = boost::log::expressions;
namespace sinks = boost::log::sinks;
namespace sources = boost::log::sources;

using Backend = sinks::text_file_backend;
using DirectSink = sinks::synchronous_sink<Backend>;
using QueuedSink =
    sinks::asynchronous_sink<Backend,
                             sinks::bounded_fifo_queue<kQueueLength, sinks::block_on_overflow>>;
using Logger = sources::severity_logger_mt<int>;

class BoostRecords : public Contender {
  public:
    explicit BoostRecords(const Job& job)
        : job_(job),
          queued_(job.subject == "queued" || job.subject == "paced"),
          loggers_(static_cast<size_t>(job.categories)) {
        const auto core = boost::log::core::get();
        core->add_global_attribute("TimeStamp", attributes::local_clock());
        core->add_global_attribute("Thread", attributes::current_thread_id());
        for (int i = 0; i < job.categories; ++i) {
            loggers_[static_cast<size_t>(i)].add_attribute("Category",
                                                           attributes::constant<int>(i));
            if (queued_) {
                queuedSink_ = boost::make_shared<QueuedSink>(MakeBackend(i));
                AddSink(queuedSink_, i);
            } else {
                AddSink(boost::make_shared<DirectSink>(MakeBackend(i)), i);
            }
        }
    }
    ~BoostRecords() override {
        boost::log::core::get()->remove_all_sinks();
        if (queuedSink_) {
            queuedSink_->stop();
        }
    }

    void EnterThread() override {
        boost::log::core::get()->add_thread_attribute("Context",
                                                      attributes::constant<std::string>(kContext));
    }

    // It knows no place in the source: the texts come with each record.
    void Record(int category, int number) override {
        Logger& logger = loggers_[static_cast<size_t>(category)];
        if (boost::log::record record = logger.open_record(boost::log::keywords::severity = 1)) {
            boost::log::record_ostream stream(record);
            stream << "File: " << kFile << " Func:" << kFunction << " Line:" << kLine
                   << "\n Detail: " << number << " network elements answered " << kAnswer
                   << " after " << std::fixed << std::setprecision(3) << kSeconds << " s\n";
            stream.flush();
            logger.push_record(std::move(record));
        }
    }

    void Drain() override {
        if (queuedSink_) {
            queuedSink_->flush();
        }
    }

  private:
    boost::shared_ptr<Backend> MakeBackend(int category) const {
        const std::string path = job_.directory + "/" + kCategories[category];
        auto backend = boost::make_shared<Backend>();
        backend->set_open_mode(std::ios::out | std::ios::app);
        backend->auto_flush(!queued_);
        if (job_.subject == "rotation") {
            backend->set_file_name_pattern(path + "_%5N.log");
            backend->set_rotation_size(kRotationSize);
            backend->set_file_collector(sinks::file::make_collector(
                boost::log::keywords::target = job_.directory + "/rotated",
                boost::log::keywords::max_files = 5));
        } else {
            backend->set_file_name_pattern(path + ".log");
        }
        return backend;
    }

    template <class Sink>
    void AddSink(const boost::shared_ptr<Sink>& sink, int category) const {
        namespace e = expressions;
        sink->set_formatter(e::stream
                            << e::format_date_time<boost::posix_time::ptime>("TimeStamp",
                                                                             "%Y-%m-%dT%H:%M:%S.%f")
                            << ", " << e::attr<std::string>("Context") << ", T:"
                            << e::attr<attributes::current_thread_id::value_type>("Thread")
                            << ", DL:" << e::attr<int>("Severity") << ", " << e::smessage);
        if (job_.categories > 1) {
            sink->set_filter(e::attr<int>("Category") == category);
        }
        boost::log::core::get()->add_sink(sink);
    }

    const Job job_;
    const bool queued_;
    boost::shared_ptr<QueuedSink> queuedSink_;
    std::vector<Logger> loggers_;
};

}  // namespace

std::unique_ptr<Contender> MakeContender(const Job& job) {
    if (job.subject != "direct" && job.subject != "queued" && job.subject != "paced" &&
        job.subject != "rotation") {
        throw std::invalid_argument("no subject " + job.subject);
    }
    return std::make_unique<BoostRecords>(job);
}

}  // namespace NS_BENCH
