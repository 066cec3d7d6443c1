// The managed test host: the C# binding driving the real library.
//
//   mono korvid_managed_host.exe --header exports/korvid_exports.h
//        --expected tests/expected_exports.txt [--filter TEXT]
//
// The library is found by the loader (LD_LIBRARY_PATH on Linux); the media
// are made in the working directory. run_managed_host.sh sets up a headless
// environment in a temporary directory and runs this.
//
// KORVID_MANAGED_STRICT=1 counts a case skipped for a missing export as a
// failure (for a build that should have every export); KORVID_SWEEP_TRACE=1
// names each step of the export sweep on standard error.
using System;

namespace Korvid.ManagedHost
{
    static class Program
    {
        static int Main(string[] args)
        {
            string header = null, expected = null, filter = null;
            for (int i = 0; i + 1 < args.Length; i += 2)
            {
                switch (args[i])
                {
                    case "--header": header = args[i + 1]; break;
                    case "--expected": expected = args[i + 1]; break;
                    case "--filter": filter = args[i + 1]; break;
                    default:
                        Console.Error.WriteLine("unknown argument " + args[i]);
                        return 2;
                }
            }
            if (header == null || expected == null)
            {
                Console.Error.WriteLine("usage: korvid_managed_host.exe --header korvid_exports.h --expected expected_exports.txt [--filter TEXT]");
                return 2;
            }

            DeclarationTests.Register(header, expected);
            PlayerTests.Register();
            SlotTests.Register();
            ExportSweep.Register();
            return Harness.Run(filter);
        }
    }
}
