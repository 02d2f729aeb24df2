;;; The duct commands one case at a time in a new project: elevations taken from the ducts met,
;;; a landing mid-duct that splits, the elevation list where ducts meet at several, breaks,
;;; the plain insertions, the frame of a row, and fillets. Exit 1 when a result is wrong.

(setq failures 0)
(defun check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq failures (1+ failures))))
  ok)

(setq file (projectdb-currentFile))
(defun column (ix name) (car (kvdb-query file (strcat "SELECT " name " FROM tblDuct WHERE ixDuct = " (itoa ix)))))
(defun ent (ix) (car (ssgetx-duct ix)))
(defun p10 (ix) (cdr (assoc 10 (entget (ent ix)))))
(defun p11 (ix) (cdr (assoc 11 (entget (ent ix)))))
(defun z10 (ix) (caddr (p10 ix)))
(defun z11 (ix) (caddr (p11 ix)))
(defun flat (z) (duct-setSettings (list '("SHAPE" "RC") '("WIDTH" 24.0) '("DEPTH" 12.0) (list "Z1" z) '("AIRFLOW" "sa"))))
(defun count-ducts () (length (ssgetx-duct)))
(defun failed (r) (vl-catch-all-error-p r))

;; Arguments are read cell by cell: three cells are refused even when the first two are points.
(check "three arguments refused" (failed (vl-catch-all-apply 'kvDuct '((0 0) (10 0) (20 0)))))
(check "a text is no point" (failed (vl-catch-all-apply 'kvDuct '("a" (10 0)))))
(check "kvbreak wants an entity" (failed (vl-catch-all-apply 'kvbreak '((0 0) (1 1)))))

;; Free space takes the settings; the end of a duct at 120 into free space stays at 120; from
;; that end to the start of a duct at 96 slopes down to 96.
(flat 96.0)
(setq low (kvDuct '(400 0) '(600 0)))
(check "free space lies at the settings' elevation" (and (= (z10 low) 96.0) (= (z11 low) 96.0)))
(kvdb-execute file (strcat "UPDATE tblDuct SET WIDTH = 30 WHERE ixDuct = " (itoa low)))
(flat 120.0)
(setq high (kvDuct '(0 0) '(200 0)))
(setq slope (kvDuct '(200 0) '(400 0)))
(check "slopes between the ducts it joins" (and (= (z10 slope) 120.0) (= (z11 slope) 96.0)))
(check "its row slopes too" (and (= (column slope "Z1") 120.0) (= (column slope "Z2") 96.0)))
(setq onward (kvDuct '(200 0) '(200 200)))
(check "continues flat at the end it leaves" (and (= (z10 onward) 120.0) (= (z11 onward) 120.0)))
(setq feeder (kvDuct '(400 -200) '(400 0)))
(check "runs into a duct at its elevation" (and (= (z10 feeder) 96.0) (= (z11 feeder) 96.0)))
(check "and copies its row" (= (column feeder "WIDTH") 30.0))

;; A landing in the middle of a duct splits it: the upstream piece is a new row, the downstream
;; piece keeps its own, and the new duct starts at the old row's start elevation.
(setq before (count-ducts))
(setq branch (kvDuct '(100 0) '(100 -150)))
(check "a split adds two entities" (= (count-ducts) (+ before 2)))
(check "the downstream piece starts at the landing" (equal (p10 high) '(100.0 0.0 120.0) 1e-9))
(setq up (vl-remove-if-not '(lambda (e) (equal (cdr (assoc 10 (entget e))) '(0.0 0.0 120.0) 1e-9)) (ssgetx-duct)))
(check "one upstream piece" (= (length up) 1))
(setq upIx (cdr (assoc 90 (entget (car up)))))
(check "with its own row, copied" (and (/= upIx high) (= (column upIx "SHAPE") "RC") (= (column upIx "AIRFLOW") "sa")))
(check "ending at the landing" (equal (cdr (assoc 11 (entget (car up)))) '(100.0 0.0 120.0) 1e-9))
(check "the downstream piece is sized from upstream" (= "X" (cdr (assoc 1 (entget (ent high))))))
(check "the branch starts at the old row's start" (= (z10 branch) 120.0))
(check "a pick near a duct but not on it splits nothing"
  (progn (setq before (count-ducts)) (kvDuct '(150 3) '(150 100)) (= (count-ducts) (1+ before))))

;; Three ducts end at one point at two elevations: the list shows all three; one elevation: no
;; list. The real list reads the number typed.
(flat 120.0)
(kvDuct '(900 500) '(1000 500))
(kvDuct '(1000 400) '(1000 500))
(flat 96.0)
(kvDuct '(1100 500) '(1000 500))
(setq real-dialog duct-elevationListDialog shown nil)
(defun duct-elevationListDialog (elevations prompt none one)
  (setq shown (list elevations prompt none one))
  (1+ (vl-position 96.0 elevations)))
(flat 50.0)
(setq picked (kvDuct '(1000 500) '(1000 700)))
(check "the list shows three" (= (length (car shown)) 3))
(check "its prompt and markers" (equal (cdr shown) '("Select Starting Elevation (ft-in)" -1 1)))
(check "the chosen elevation" (and (= (z10 picked) 96.0) (= (z11 picked) 96.0)))
(setq duct-elevationListDialog real-dialog)
(kvhost-input "text 2")
(setq typed (kvDuct '(1000 500) '(1200 700)))
(check "the typed number names the second entry"
  (= (z10 typed) (nth 1 (car shown))))
(kvhost-input "esc")
(setq cancelled (kvDuct '(1000 500) '(800 700)))
(check "a cancelled list leaves a bare record at 0" (and (= (z10 cancelled) 0.0) (= (z11 cancelled) 0.0)))
(check "an entry out of range is no choice" (null (duct-elevationListDialog '(1.0 2.0) "p" -1 1)))
(check "feet and inches" (= (duct-ftIn 123.5) "10'-3.50\""))
(setq shown nil)
(defun duct-elevationListDialog (elevations prompt none one) (setq shown T) 1)
(flat 120.0)
(kvDuct '(2000 0) '(2100 0))
(kvDuct '(2000 100) '(2100 0))
(kvDuct '(2100 0) '(2200 0))
(check "one elevation asks nothing" (null shown))
(setq duct-elevationListDialog real-dialog)

;; Breaks: a vertical duct at a height between its ends, a pick beyond the end, and a duct that
;; links drawings.
(setq riser (kvductforce '(3000 0 96) '(3000 0 144) low))
(setq lower (kvbreak (ent riser) '(3000 0 110)))
(check "a vertical duct breaks at the pick's height"
  (and (equal (p10 riser) '(3000.0 0.0 110.0) 1e-9) (equal (p11 lower) '(3000.0 0.0 110.0) 1e-9)
       (equal (p10 lower) '(3000.0 0.0 96.0) 1e-9)))
(setq far (kvductforce '(3100 0 96) '(3200 0 96) low))
(check "a break beyond the end" (> (kvbreak (ent far) '(3300 5 0)) 0))
(check "keeps the given point" (equal (p10 far) '(3300.0 5.0 0.0) 1e-9))
(setq seam (kvductforce '(3400 0 96) '(3500 0 96) low))
(kvdb-execute file (strcat "UPDATE tblDuct SET FITTING = \"DWGTODWG\" WHERE ixDuct = " (itoa seam)))
(setq before (count-ducts))
(check "a duct between drawings is not broken" (= 0 (kvbreak (ent seam) '(3450 0 96))))
(check "and nothing changed" (and (= before (count-ducts)) (equal (p10 seam) '(3400.0 0.0 96.0) 1e-9)))
(setq plain (kvductforce '(3600 0 96) '(3800 0 96) low))
(kvdb-execute file (strcat "UPDATE tblDuct SET SIZEFOR = \"V\", DAMPERTYPE = 2 WHERE ixDuct = " (itoa plain)))
(setq piece (kvbreak (ent plain) '(3700 0 96)))
(check "the damper stays downstream, the sizing letter moves upstream"
  (and (= (column plain "DAMPERTYPE") 2) (= (column plain "SIZEFOR") "X")
       (= (column piece "DAMPERTYPE") 0) (= (column piece "SIZEFOR") "V")
       (= "V" (cdr (assoc 1 (entget (ent piece)))))))

;; Plain insertions: no row is needed.
(setq e (kv_hvac-addDuctToDwg 99999 '(0 900 0) '(100 900 0)))
(check "an index without a row still draws" (and e (= 99999 (cdr (assoc 90 (entget e))))))
(setq e (kv_hvac-insertDuct-likePlumbing 99998 '(0 950 0) '(100 950 0) "W"))
(check "plumbing-like insertion keeps its text" (= "W" (cdr (assoc 1 (entget e)))))
(entdel e)
(entdel (car (ssgetx-duct 99999)))

;; The frame of a flat duct along X.
(ducts-rowFromEntity (ent high))
(check "frame of a duct along X"
  (equal (kv_hvac-getDuctCoord high) '((1.0 0.0 0.0) (0.0 1.0 0.0) (0.0 0.0 1.0)) 1e-6))
(check "no row, no frame" (null (kv_hvac-getDuctCoord 424242)))
(check "frame wants a number" (failed (vl-catch-all-apply 'kv_hvac-getDuctCoord '("a"))))

;; Fillets: parallel ducts are refused; ducts at 120 and 96 get a riser at the corner; a pick
;; on the far side of a crossing keeps that side.
(flat 120.0)
(setq pa (kvDuct '(5000 0) '(5100 0)))
(setq pb (kvDuct '(5000 50) '(5100 50)))
(setq before (count-ducts))
(check "parallel ducts do not meet"
  (and (null (kv_hvac-duct-fillet (ent pa) '(5050 0) (ent pb) '(5050 50))) (= before (count-ducts))
       (equal (p11 pa) '(5100.0 0.0 120.0) 1e-9)))
(setq f1 (kvDuct '(6000 0) '(6100 0)))
(flat 96.0)
(setq f2 (kvDuct '(6150 50) '(6150 200)))
(kv_hvac-duct-fillet (ent f1) '(6050 0) (ent f2) '(6150 150))
(check "first duct extended to the corner" (equal (p11 f1) '(6150.0 0.0 120.0) 1e-9))
(check "second duct's start brought to the corner" (equal (p10 f2) '(6150.0 0.0 96.0) 1e-9))
(setq rise (vl-remove-if-not '(lambda (e) (and (equal (cdr (assoc 10 (entget e))) '(6150.0 0.0 120.0) 1e-9)
                                                (equal (cdr (assoc 11 (entget e))) '(6150.0 0.0 96.0) 1e-9)))
                             (ssgetx-duct)))
(check "one riser from 120 to 96" (= 1 (length rise)))
(check "on the first duct's layer" (= (cdr (assoc 8 (entget (car rise)))) (cdr (assoc 8 (entget (ent f1))))))
(setq before (count-ducts))
(kv_hvac-duct-fillet (ent f1) '(6050 0) (ent f2) '(6150 150))
(check "meeting already: one more riser, no move"
  (and (= (count-ducts) (1+ before)) (equal (p11 f1) '(6150.0 0.0 120.0) 1e-9)))
(flat 120.0)
(setq c1 (kvDuct '(7000 0) '(7200 0)))
(setq c2 (kvDuct '(7100 -100) '(7100 100)))
(setq before (count-ducts))
(kv_hvac-duct-fillet (ent c1) '(7050 0) (ent c2) '(7100 80))
(check "the picked sides remain"
  (and (equal (p11 c1) '(7100.0 0.0 120.0) 1e-9) (equal (p10 c1) '(7000.0 0.0 120.0) 1e-9)
       (equal (p10 c2) '(7100.0 0.0 120.0) 1e-9) (equal (p11 c2) '(7100.0 100.0 120.0) 1e-9)))
(check "one elevation, no riser" (= before (count-ducts)))

(if (> failures 0) (exit 1))
(princ "\nduct commands: all checks passed")
