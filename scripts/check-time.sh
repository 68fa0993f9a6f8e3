#!/usr/bin/env bash
# Fails and names the lines that take time, or wait, past the Scheduler. Programs of their own and the two rooms that make
# the clocks may do so.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
words='\b(now|sleep|usleep|nanosleep|msleep|clock_gettime|gettimeofday|difftime)\s*\('
words+='|\btime\s*\(\s*(nullptr|NULL|0|&)|sleep_for|sleep_until|\bwait_for\b|wait_until|try_lock_for|try_lock_until|timed_wait'
words+='|\b(QTimer|QBasicTimer|QElapsedTimer|QDeadlineTimer)\b|\bstartTimer\s*\(|\bTimer\s*\{'
words+='|currentMSecsSinceEpoch|currentSecsSinceEpoch|currentDateTime|\bqWait\w*|\bqSleep\b|\bQTRY_\w+'
if git grep -nP "^((?!//).)*($words)" -- 'calendar/*' 'client/*' 'views/*' 'tests/*' ':!tests/base/*' ':!*.txt'; then
  echo "check-time: take time from a Scheduler" >&2
  exit 1
fi
