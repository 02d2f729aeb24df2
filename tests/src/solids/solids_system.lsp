;;; A supply system drawn as a designer would (a main with elbows, a transition, a tee, a wye, a
;;; riser, a flexible branch to a diffuser) turned into its three-dimensional model by the
;;; application layer's command, then written to STEP. Every duct and fitting must have its
;;; solid. The volumes go to a file for the independent STEP reader. Exit 1 when a result is
;;; wrong.

(setq failures 0)
(defun check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq failures (1+ failures))))
  ok)

(setq file (projectdb-currentFile) out (getenv "KV_SOLIDS_OUT"))
(defun sql (text) (kvdb-execute file text))
(sql "UPDATE tblGlobal SET sText = \"0\" WHERE sKey = \"AUTOFIT-RC2\"")
(duct-setSettings '(("SHAPE" "RC") ("WIDTH" 24.0) ("DEPTH" 12.0) ("Z1" 108.0) ("AIRFLOW" "sa")))

(defun duct (p1 p2 template / ix)
  (setq ix (kvtest-newDuct template))
  (entmake (list '(0 . "KVDUCT") '(100 . "KvDuct") (cons 10 p1) (cons 11 p2) (cons 90 ix) '(1 . "X")))
  (ducts-rowFromEntity (entlast))
  ix)

(ductgraph-reset)
(setq d1 (duct '(0.0 0.0 108.0) '(100.0 0.0 108.0) nil))
(setq d2 (duct '(100.0 0.0 108.0) '(100.0 100.0 108.0) d1))
(setq d3 (duct '(100.0 100.0 108.0) '(100.0 200.0 108.0) d2))
(sql (strcat "UPDATE tblDuct SET WIDTH = 18 WHERE ixDuct = " (itoa d3)))
(setq d4 (duct '(100.0 200.0 108.0) '(100.0 300.0 108.0) d3))
(setq d5 (duct '(100.0 200.0 108.0) '(200.0 200.0 108.0) d3))
(setq d6 (duct '(100.0 300.0 108.0) '(150.0 350.0 108.0) d4))
(setq d7 (duct '(100.0 300.0 108.0) '(50.0 350.0 108.0) d4))
(setq d13 (duct '(150.0 350.0 108.0) '(150.0 450.0 108.0) d6))
(setq d9 (duct '(200.0 200.0 108.0) '(200.0 100.0 108.0) d5))
;; The riser, and the run at its top.
(setq d10 (duct '(200.0 100.0 108.0) '(200.0 100.0 200.0) d9))
(setq d11 (duct '(200.0 100.0 200.0) '(300.0 100.0 200.0) d9))
;; The flexible branch to a ceiling diffuser.
(setq d12 (duct '(50.0 350.0 108.0) '(0.0 420.0 108.0) d7))
(sql (strcat "UPDATE tblDuct SET MATERIAL = \"FX\", SHAPE = \"rd\", WIDTH = 8, DEPTH = 8, FITTING = \"DCONN\" WHERE ixDuct = " (itoa d12)))
(sql "INSERT INTO tblDiffS (ixDiffSGroup, CALLOUT, ixDwgDiff, WIDTH, LENGTH, NECK, NECK2) VALUES (1, \"A\", 0, 24, 24, 8, 0)")
(setq diffS (car (kvdb-query file "SELECT max(ixDiffS) FROM tblDiffS")))
(sql (strcat "INSERT INTO tblDiffL (ixDiffS, ixDuct, ixLayerSystem, AIRFLOW, bDisplayCallout, bFlipCalloutArrow,"
             " CFM, TILT, CONTYPE, X, Y, Z, ROTATION, DRAWING, bDeleted, iAlignmentPointNumber) VALUES"
             " (" (itoa (fix diffS)) ", " (itoa d12) ", 0, \"sa\", 0, 0, 150, 0, \"T\", 0, 420, 108, 0, \"system.dwg\", 0, 0)"))
(foreach link (list (list d1 d2) (list d2 d3) (list d3 d4) (list d3 d5) (list d4 d6) (list d4 d7)
                    (list d6 d13) (list d5 d9) (list d9 d10) (list d10 d11) (list d7 d12))
  (ductgraph-connect (car link) (cadr link)))
(ductgraph-setDiffuser d12 (car (kvdb-query file "SELECT ixDiffL FROM tblDiffL")))

;; Every fitting with a solid of its own, every rigid duct's straight piece, the flexible tube.
(setq fittings (mapcar '(lambda (ix) (cons ix (kv_hvac-drawTripleFitting ix 0 nil))) (list d1 d2 d3 d4 d5 d6 d9 d10)))
(foreach f fittings
  (check (strcat "duct " (itoa (car f)) " has its fitting's solid") (eq 'ENAME (type (cdr (assoc "Solid" (cdr f)))))))
(check "the diffuser at the flexible branch" (eq 'ENAME (type (cdr (assoc "Solid" (kv_hvac-drawTripleFitting d12 0 nil))))))
(check "the fitting at a run's end is nil" (null (kv_hvac-drawTripleFitting d11 0 nil)))
(setq tube (kv_hvac-drawTripleCenter d12 0 nil))
(check "the flexible run is one tube" (eq 'ENAME (type (cdr (assoc "duct" tube)))))
(foreach ix (list d1 d2 d3 d4 d5 d6 d7 d9 d10 d11 d13)
  (check (strcat "duct " (itoa ix) " has its straight piece")
         (eq 'ENAME (type (cdr (assoc "duct" (kv_hvac-drawTripleCenter ix 0 nil)))))))
(setq pieces (length (kv_solid-volumes)))

;; The layer's loop does it all again beside the first model: as many solids again.
(setq again (kv_hvac-solids-build nil 0 nil))
(check "the layer's loop builds the same pieces" (= pieces (length again)))
(check "no solid is empty" (not (vl-remove-if '(lambda (v) (> v 1.0)) (kv_solid-volumes))))

(setq step (strcat out "/system.step"))
(setq written (kv_hvac-solids-exportStep step nil))
;; In inches, the drawing's unit, which the independent reader turns into millimetres.
;; A tee keeps its trunk and stubs as bodies of one solid; each body is a solid of the file.
(check "STEP holds every solid" (>= written (* 2 pieces)))
(setq f (open (strcat out "/volumes.txt") "w"))
(write-line (itoa written) f)
(foreach v (kv_solid-volumes) (write-line (rtos v 2 6) f))
(close f)
(kvhost-plot (strcat out "/system-plan.png") 1200)
(if (> failures 0) (exit 1))
(princ (strcat "\nsolids system: " (itoa pieces) " solids, " (itoa written) " bodies in STEP, all checks passed\n"))
(princ)
