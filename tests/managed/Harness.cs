// A small test runner for the managed host: named cases, soft checks, skips
// for exports the library does not have yet, and a watchdog, because a native
// call that never returns (an open or an audio switch) cannot be interrupted.
using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Linq;
using System.Threading;
using Korvid;

namespace Korvid.ManagedHost
{
    /// <summary>Thrown to end a case as skipped.</summary>
    sealed class SkipException : Exception
    {
        public SkipException(string reason) : base(reason) { }
    }

    sealed class CheckFailed : Exception
    {
        public CheckFailed(string message) : base(message) { }
    }

    static class Harness
    {
        sealed class Case
        {
            public string Name;
            public string[] Needs;
            public Action Body;
            public int TimeoutSeconds;
        }

        static readonly List<Case> cases = new List<Case>();
        [ThreadStatic] static List<string> failures;

        /// <summary>Registers a case; it is skipped when the library lacks one of <paramref name="needs"/>.</summary>
        public static void Add(string name, string[] needs, Action body, int timeoutSeconds = 90)
        {
            cases.Add(new Case { Name = name, Needs = needs ?? new string[0], Body = body, TimeoutSeconds = timeoutSeconds });
        }

        /// <summary>A soft check: the case goes on and fails at its end.</summary>
        public static void Check(bool condition, string what)
        {
            if (!condition) failures.Add(what);
        }

        /// <summary>A hard check: the case stops here.</summary>
        public static void Require(bool condition, string what)
        {
            if (!condition) throw new CheckFailed(what);
        }

        public static void Throws<TException>(Action call, string what) where TException : Exception
        {
            try
            {
                call();
                failures.Add(what + ": no exception");
            }
            catch (TException) { }
            catch (Exception e) { failures.Add(what + ": " + e.GetType().Name + " instead of " + typeof(TException).Name); }
        }

        /// <summary>Polls <paramref name="condition"/>, once per simulated host frame, until it holds or the deadline passes.</summary>
        public static bool WaitUntil(Func<bool> condition, int timeoutMs = 10000, Action eachFrame = null)
        {
            var clock = Stopwatch.StartNew();
            for (;;)
            {
                if (eachFrame != null) eachFrame();
                if (condition()) return true;
                if (clock.ElapsedMilliseconds > timeoutMs) return false;
                Thread.Sleep(10);
            }
        }

        /// <summary>Runs every case (or those whose name contains <paramref name="filter"/>); returns the exit code.</summary>
        public static int Run(string filter)
        {
            bool strict = Environment.GetEnvironmentVariable("KORVID_MANAGED_STRICT") == "1";
            int passed = 0, failed = 0, skipped = 0;
            foreach (Case c in cases.Where(c => filter == null || c.Name.Contains(filter)))
            {
                // Named before it runs: a crash inside the library shows where it happened.
                Console.WriteLine("RUN  " + c.Name);
                Console.Out.Flush();
                string[] missing = c.Needs.Where(n => !KorvidNative.IsAvailable(n)).ToArray();
                string outcome, detail = "";
                if (missing.Length > 0)
                {
                    outcome = "SKIP";
                    detail = "library lacks " + string.Join(", ", missing);
                }
                else
                {
                    List<string> found = null;
                    Exception error = null;
                    var thread = new Thread(() =>
                    {
                        failures = new List<string>();
                        try { c.Body(); }
                        catch (Exception e) { error = e; }
                        found = failures;
                    });
                    thread.IsBackground = true;
                    var clock = Stopwatch.StartNew();
                    thread.Start();
                    if (!thread.Join(TimeSpan.FromSeconds(c.TimeoutSeconds)))
                    {
                        // The library may still be inside the hung call: nothing after this can run safely.
                        Console.WriteLine("FAIL " + c.Name + ": no result after " + c.TimeoutSeconds + " s");
                        failed++;
                        Summary(passed, failed, skipped);
                        Console.Out.Flush();
                        Environment.Exit(1);
                    }
                    detail = " (" + clock.ElapsedMilliseconds + " ms)";
                    if (error is SkipException && found.Count == 0)
                    {
                        outcome = "SKIP";
                        detail = error.Message;
                    }
                    else if (error is EntryPointNotFoundException && found.Count == 0)
                    {
                        outcome = "SKIP";
                        detail = "library lacks an export: " + error.Message;
                    }
                    else if (error != null || found.Count > 0)
                    {
                        outcome = "FAIL";
                        var lines = new List<string>(found);
                        if (error != null) lines.Add(error is CheckFailed ? error.Message : error.ToString());
                        detail += "\n    " + string.Join("\n    ", lines);
                    }
                    else outcome = "PASS";
                }
                if (outcome == "SKIP" && strict) outcome = "FAIL";
                Console.WriteLine(outcome + " " + c.Name + (outcome == "PASS" ? detail : ": " + detail.TrimStart()));
                if (outcome == "PASS") passed++;
                else if (outcome == "SKIP") skipped++;
                else failed++;
            }
            Summary(passed, failed, skipped);
            return failed == 0 ? 0 : 1;
        }

        static void Summary(int passed, int failed, int skipped)
        {
            if (skipped > 0) Console.WriteLine(skipped + " skipped (KORVID_MANAGED_STRICT=1 counts them as failures)");
            Console.WriteLine(passed + " passed, " + failed + " failed");
        }
    }
}
